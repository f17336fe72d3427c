// The walk over the structure that applies the rules of BodyPlan.hpp.
#include "client/formats/BodyPlan.hpp"

#include <algorithm>

namespace deftmapi::client::mime
{

namespace
{

using TKind = TMimePart::TKind;

bool IsPlain(const TMimePart& part) noexcept
{
    return part.Kind == TKind::Leaf && part.Is("text", "plain") && part.Disposition != "attachment";
}

bool IsHtml(const TMimePart& part) noexcept
{
    return part.Kind == TKind::Leaf && part.Is("text", "html") && part.Disposition != "attachment";
}

bool Contains(const TMimePart& part, bool (*matches)(const TMimePart&) noexcept) noexcept
{
    return matches(part) || std::any_of(part.Parts.begin(), part.Parts.end(),
                                        [matches](const auto& child) { return Contains(*child, matches); });
}

class TPlanner
{
public:
    TBodyPlan Plan;

    void Part(const TMimePart& part)
    {
        if (part.Kind == TKind::Multipart) {
            if (part.Subtype == "alternative")
                Alternative(part);
            else if (part.Subtype == "related")
                Group(part, RootOfRelated(part));
            else if (part.Subtype == "signed")
                Group(part, part.Parts.empty() ? nullptr : part.Parts.front().get());
            else if (part.Subtype == "encrypted")
                Attach(part);
            else
                for (const auto& child : part.Parts)
                    Part(*child);
        } else if (!TakeAsBody(part)) {
            Attach(part);
        }
    }

private:
    [[nodiscard]] bool HasBody() const noexcept { return !Plan.Texts.empty() || Plan.Html != nullptr; }

    bool TakeAsBody(const TMimePart& part)
    {
        const bool plain = IsPlain(part);
        if (!plain && !IsHtml(part))
            return false;
        // A named part is a file, unless it is all the text there is and nothing says that it is one.
        if (!part.FileName.empty() && (HasBody() || part.Disposition == "inline"))
            return false;
        if (plain && Plan.Html == nullptr) {
            Plan.Texts.push_back(&part);
            return true;
        }
        if (plain && FInAlternative && Plan.Texts.empty()) {
            Plan.Texts.push_back(&part);
            return true;
        }
        if (!plain && Plan.Html == nullptr && (Plan.Texts.empty() || FInAlternative)) {
            Plan.Html = &part;
            return true;
        }
        return false;
    }

    void Attach(const TMimePart& part)
    {
        if (part.Kind != TKind::Multipart)
            Plan.Attachments.push_back(&part);
        for (const auto& child : part.Parts)
            Attach(*child);
    }

    /// The best child for a kind of text: the last one that is or, failing that, contains such a text.
    static const TMimePart* Best(const TMimePart& part, bool (*matches)(const TMimePart&) noexcept) noexcept
    {
        const auto child =
            std::find_if(part.Parts.rbegin(), part.Parts.rend(), [&](const auto& c) { return Contains(*c, matches); });
        return child != part.Parts.rend() ? child->get() : nullptr;
    }

    void Alternative(const TMimePart& part)
    {
        const TMimePart* html = Best(part, IsHtml);
        const TMimePart* plain = nullptr;
        for (const auto& child : part.Parts)
            if (IsPlain(*child) || (child.get() != html && Contains(*child, IsPlain)))
                plain = child.get();

        const bool outer = FInAlternative;
        FInAlternative = outer || !HasBody();
        for (const auto& child : part.Parts) {
            if (child.get() == html || child.get() == plain)
                Part(*child);
            else
                Attach(*child);
        }
        FInAlternative = outer;
    }

    static const TMimePart* RootOfRelated(const TMimePart& part) noexcept
    {
        if (part.Parts.empty())
            return nullptr;
        for (const auto& child : part.Parts)
            if (!part.Start.empty() && child->ContentID == part.Start)
                return child.get();
        const TMimePart* first = part.Parts.front().get();
        if (first->Kind == TKind::Multipart || first->Type == "text")
            return first;
        // Some senders put the pictures first and name no root.
        for (const auto& child : part.Parts)
            if (Contains(*child, IsHtml))
                return child.get();
        return first;
    }

    /// A root that is read like a part of its own, and companions that are attached.
    void Group(const TMimePart& part, const TMimePart* root)
    {
        for (const auto& child : part.Parts) {
            if (child.get() == root)
                Part(*child);
            else
                Attach(*child);
        }
    }

    bool FInAlternative = false;
};

} // namespace

TBodyPlan PlanBody(const TMimeMessage& message)
{
    TPlanner planner;
    if (message.Body)
        planner.Part(*message.Body);
    return std::move(planner.Plan);
}

} // namespace deftmapi::client::mime
