// The notifications of one OnNotify call, with the memory that they point to.
#pragma once

#include "client/store/PropertyValues.hpp"

namespace deftmapi::client
{

class NotificationBatch
{
public:
    /// An event of a whole table: reload, error, end of an asynchronous operation.
    void AddTableEvent(ULONG event, mapi::HRESULT result = mapi::S_OK);
    /// A row event. `prior`: the instance key of the row before, null at the top and for a deleted row; `row`: null for
    /// a deleted row.
    void AddRowEvent(ULONG event, const Bytes& key, const Bytes* prior, const Props* row);
    /// A deep copy of somebody else's notification.
    void AddCopy(const mapi::NOTIFICATION& notification);
    /// Moves what `more` has behind what is here.
    void Append(NotificationBatch&& more);

    [[nodiscard]] bool IsEmpty() const { return FItems.empty(); }
    [[nodiscard]] ULONG Count() const { return static_cast<ULONG>(FItems.size()); }
    /// Valid while the batch is; what receives it must not change or free it.
    [[nodiscard]] mapi::LPNOTIFICATION Data() { return FItems.data(); }

private:
    [[nodiscard]] mapi::LPSPropValue Keep(const Props& props);
    template <typename T>
    void KeepBytes(std::size_t size, T*& bytes);
    [[nodiscard]] mapi::LPTSTR KeepText(mapi::LPTSTR text, bool unicode);
    void CopyTable(const mapi::TABLE_NOTIFICATION& from, mapi::TABLE_NOTIFICATION& to);
    void CopyError(mapi::ERROR_NOTIFICATION& error);

    std::vector<mapi::NOTIFICATION> FItems;
    std::vector<MapiBuffer<mapi::SPropValue>> FValues;
    std::vector<MapiBuffer<std::uint8_t>> FBytes;
};

} // namespace deftmapi::client
