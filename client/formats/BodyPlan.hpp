// Decides which parts of a message become its body and which become attachments.
//
// The rules: the first text that is to be shown inline is the body. In a multipart/alternative the best (last) plain
// text and the best HTML are taken together. Later plain texts without a file name are appended while the body is
// plain; when there is an HTML body they are attached, because a reader of the HTML would never see them. The root of a
// multipart/related is read like the part itself. Everything else is an attachment, in the order of the text.
#pragma once

#include "client/formats/MimeTree.hpp"

#include <vector>

namespace deftmapi::client::mime
{

struct TBodyPlan
{
    std::vector<const TMimePart*> Texts; ///< plain texts, to be shown one after the other
    const TMimePart* Html = nullptr;
    std::vector<const TMimePart*> Attachments;
};

/// The plan points into `message`.
[[nodiscard]] TBodyPlan PlanBody(const TMimeMessage& message);

} // namespace deftmapi::client::mime
