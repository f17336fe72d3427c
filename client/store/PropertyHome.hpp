// What objects with properties share with the others of their file.
#pragma once

#include "client/store/Blob.hpp"

#include <memory>
#include <mutex>

namespace deftmapi::client
{

class PropertyHome
{
public:
    PropertyHome() = default;
    PropertyHome(const PropertyHome&) = delete;
    PropertyHome& operator=(const PropertyHome&) = delete;
    virtual ~PropertyHome() = default;

    /// Taken by every call of an object for its length, so that objects may be used from any thread.
    [[nodiscard]] std::recursive_mutex& Lock() { return FLock; }
    /// Where what is written to a stream waits until it is saved.
    [[nodiscard]] virtual std::shared_ptr<Spool> NewSpool() const = 0;

private:
    std::recursive_mutex FLock;
};

} // namespace deftmapi::client
