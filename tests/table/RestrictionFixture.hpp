// What the tests of filter expressions share: making nodes, and their records as text.
#pragma once

#include "tests/table/TableFixture.hpp"

namespace deftmapi::test
{

class TRestrictionFixture : public TTableTest
{
protected:
    template <typename Interface>
    [[nodiscard]] TKwRef<Interface> Make(TKwMAPIRestrictionType type)
    {
        return KwAs<Interface>(Table->CreateRestriction(type));
    }
    [[nodiscard]] TKwRef<IKwMAPIRestrictionExists> Exists(TKwMAPIPropDef def)
    {
        const auto node = Make<IKwMAPIRestrictionExists>(rtExists);
        node->Set_PropDef(def);
        return node;
    }
    /// A node that is given a child through the member function.
    template <typename Interface>
    [[nodiscard]] TKwRef<IKwMAPIRestriction> Over(TKwMAPIRestrictionType type,
                                                  void (Interface::*adopt)(const TKwRef<IKwMAPIRestriction>&),
                                                  const TKwRef<IKwMAPIRestriction>& child)
    {
        const auto node = Make<Interface>(type);
        (node.Get()->*adopt)(child);
        return node;
    }
    [[nodiscard]] static const mapi::SRestriction* RecordOf(const TKwRef<IKwMAPIRestriction>& node)
    {
        return dynamic_cast<IKwMAPIRestrictionEx&>(*node).GetMAPIRestriction();
    }
    [[nodiscard]] static std::string Record(const TKwRef<IKwMAPIRestriction>& node) { return TextOf(RecordOf(node)); }
};

} // namespace deftmapi::test
