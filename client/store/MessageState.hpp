// What a message consists of, in memory: properties, recipients, attachments. It is a value: an attachment or an
// embedded message that is open works on a copy, and its SaveChanges puts the copy into its parent.
#pragma once

#include "client/store/PropertyBag.hpp"

#include <memory>
#include <set>

namespace deftmapi::client
{

struct MessageState;

struct Recipient
{
    ULONG rowId = 0;
    PropertyBag props;

    /// What the recipient table shows of it, and restrictions on recipients ask for.
    [[nodiscard]] PropertyBag Shown() const;
};

/// The number and the row under which an attachment was written last. All copies of its state share it, so that who
/// works on one learns where the attachment has come to lie.
struct AttachmentPlace
{
    ULONG num = 0;
    std::int64_t row = 0;
};

struct AttachmentState
{
    ULONG num = 0;
    std::int64_t row = 0;                   ///< 0 until written
    std::shared_ptr<AttachmentPlace> place; ///< null: nobody asks
    PropertyBag props;
    std::set<ULONG> changedProps; ///< identifiers set or deleted since it was loaded; PR_ATTACH_DATA_OBJ among them
    std::int64_t embeddedRow = 0; ///< the embedded message in the store, 0 when there is none
    std::shared_ptr<const MessageState> embedded; ///< an embedded message that is not written yet
    bool changed = false;

    /// What the attachment table shows of it, and restrictions on attachments ask for.
    [[nodiscard]] PropertyBag Shown() const;
    /// Whether both are of one attachment.
    [[nodiscard]] bool IsSame(const AttachmentState& other) const
    {
        return (place && place == other.place) || (row != 0 && row == other.row);
    }
    /// Takes over number and row if it has been written since.
    void Locate();
    /// Puts the changes of another state of the same attachment onto this one.
    void TakeChanges(const AttachmentState& other);
};

struct MessageState
{
    std::int64_t row = 0; ///< 0 until written
    std::int64_t version = 0;
    std::int64_t folder = 0; ///< 0 for an embedded message
    bool associated = false;

    PropertyBag props;
    bool changed = false;
    std::set<ULONG> changedProps; ///< identifiers set or deleted by the caller since it was loaded

    std::vector<Recipient> recipients;
    bool recipientsLoaded = false;
    bool recipientsChanged = false;

    std::vector<AttachmentState> attachments;
    std::vector<std::int64_t> removedAttachments; ///< rows
    bool attachmentsLoaded = false;
    ULONG nextAttachment = 0;

    [[nodiscard]] bool IsChanged() const;
    [[nodiscard]] AttachmentState* FindAttachment(ULONG num);
};

/// A message as CreateMessage makes it: nothing written, the documented first values of its properties set.
[[nodiscard]] MessageState NewMessage(std::int64_t folder, bool associated);
/// Makes PR_SUBJECT_PREFIX and PR_NORMALIZED_SUBJECT follow PR_SUBJECT. `explicitPrefix`: the prefix was set by the
/// caller and counts if the subject begins with it.
void DeriveSubject(PropertyBag& props, bool explicitPrefix);
/// Makes PR_DISPLAY_TO, _CC and _BCC follow the recipients.
void DeriveDisplayNames(MessageState& message);
/// Makes PR_HASATTACH follow the attachments; hidden ones do not count.
void DeriveHasAttach(MessageState& message);

[[nodiscard]] Bytes PackRecipients(const std::vector<Recipient>& recipients);
[[nodiscard]] std::vector<Recipient> UnpackRecipients(std::span<const std::uint8_t> packed);

} // namespace deftmapi::client
