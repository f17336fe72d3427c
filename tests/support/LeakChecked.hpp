// A test fixture that ends with nothing alive: no object of the library, no COM double, no scripted MAPI buffer.
#pragma once

#include "support/uKwComObj.hpp"
#include "tests/support/ScriptedMAPI.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{

/// Compares what is alive at the end of a test with what was at its beginning. The comparison is made by the
/// destructor, when the members of a derived fixture are gone, too.
class TLeakChecked : public ::testing::Test
{
protected:
    TLeakChecked()
        : FObjects(TKwAutoIntfObject::LiveObjects()), FBuffers(TScriptedAllocator::Live()),
          FDoubles(LiveScriptedObjects())
    {}
    ~TLeakChecked() override
    {
        EXPECT_EQ(TKwAutoIntfObject::LiveObjects(), FObjects) << "objects of the library";
        EXPECT_EQ(TScriptedAllocator::Live(), FBuffers) << "MAPI buffers";
        EXPECT_EQ(LiveScriptedObjects(), FDoubles) << "scripted COM objects";
    }

private:
    std::size_t FObjects;
    std::size_t FBuffers;
    std::size_t FDoubles;
};

} // namespace deftmapi::test
