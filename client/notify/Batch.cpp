#include "client/notify/Batch.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace deftmapi::client
{
namespace
{

const Prop NullProp{mapi::PT_NULL, {}};

/// A value of somebody else in the width that it has there.
Prop CopyOf(const mapi::SPropValue& value)
{
    Prop prop = FromInterface(value);
    auto same = Convert(prop, mapi::PROP_TYPE(value.ulPropTag), false);
    return same ? std::move(*same) : std::move(prop);
}

std::size_t TextSize(mapi::LPTSTR text, bool unicode)
{
    return unicode ? (std::char_traits<char16_t>::length(static_cast<const char16_t*>(text)) + 1) * sizeof(char16_t)
                   : std::strlen(static_cast<const char*>(text)) + 1;
}

} // namespace

mapi::LPSPropValue NotificationBatch::Keep(const Props& props)
{
    FValues.push_back(ToInterface(props));
    return FValues.back().Get();
}

template <typename T>
void NotificationBatch::KeepBytes(std::size_t size, T*& bytes)
{
    if (!bytes || size == 0) {
        bytes = nullptr;
        return;
    }
    auto copy = AllocateAs<std::uint8_t>(size);
    std::memcpy(copy.Get(), bytes, size);
    FBytes.push_back(std::move(copy));
    bytes = reinterpret_cast<T*>(FBytes.back().Get());
}

mapi::LPTSTR NotificationBatch::KeepText(mapi::LPTSTR text, bool unicode)
{
    auto* bytes = static_cast<std::uint8_t*>(text);
    if (bytes)
        KeepBytes(TextSize(text, unicode), bytes);
    return bytes;
}

namespace
{

mapi::NOTIFICATION TableEvent(ULONG event, mapi::HRESULT result)
{
    mapi::NOTIFICATION item{};
    item.ulEventType = mapi::fnevTableModified;
    mapi::TABLE_NOTIFICATION& table = item.info.tab;
    table.ulTableEvent = event;
    table.hResult = result;
    table.propIndex.ulPropTag = mapi::PT_NULL;
    table.propPrior.ulPropTag = mapi::PT_NULL;
    return item;
}

} // namespace

void NotificationBatch::AddTableEvent(ULONG event, mapi::HRESULT result)
{
    FItems.push_back(TableEvent(event, result));
}

void NotificationBatch::AddRowEvent(ULONG event, const Bytes& key, const Bytes* prior, const Props* row)
{
    mapi::NOTIFICATION item = TableEvent(event, mapi::S_OK);
    mapi::TABLE_NOTIFICATION& table = item.info.tab;
    const mapi::LPSPropValue keys =
        Keep({BinaryProp(tag::InstanceKey, key), prior ? BinaryProp(tag::InstanceKey, *prior) : NullProp});
    table.propIndex = keys[0];
    table.propPrior = keys[1];
    if (row) {
        table.row.cValues = static_cast<ULONG>(row->size());
        table.row.lpProps = Keep(*row);
    }
    FItems.push_back(item);
}

void NotificationBatch::CopyTable(const mapi::TABLE_NOTIFICATION& from, mapi::TABLE_NOTIFICATION& to)
{
    // An event of the whole table may leave them empty, without a type.
    for (mapi::SPropValue* key : {&to.propIndex, &to.propPrior}) {
        if (mapi::PROP_TYPE(key->ulPropTag) != mapi::PT_UNSPECIFIED)
            *key = *Keep({CopyOf(*key)});
    }
    Props row;
    for (ULONG i = 0; i < from.row.cValues; ++i)
        row.push_back(CopyOf(from.row.lpProps[i]));
    to.row.lpProps = row.empty() ? nullptr : Keep(row);
}

void NotificationBatch::CopyError(mapi::ERROR_NOTIFICATION& error)
{
    KeepBytes(error.cbEntryID, error.lpEntryID);
    if (!error.lpMAPIError)
        return;
    const bool unicode = (error.ulFlags & mapi::MAPI_UNICODE) != 0;
    KeepBytes(sizeof(mapi::MAPIERROR), error.lpMAPIError);
    error.lpMAPIError->lpszError = KeepText(error.lpMAPIError->lpszError, unicode);
    error.lpMAPIError->lpszComponent = KeepText(error.lpMAPIError->lpszComponent, unicode);
}

void NotificationBatch::AddCopy(const mapi::NOTIFICATION& notification)
{
    mapi::NOTIFICATION item = notification;
    switch (item.ulEventType) {
    case mapi::fnevTableModified:
        CopyTable(notification.info.tab, item.info.tab);
        break;
    case mapi::fnevCriticalError:
        CopyError(item.info.err);
        break;
    case mapi::fnevNewMail: {
        auto& mail = item.info.newmail;
        KeepBytes(mail.cbEntryID, mail.lpEntryID);
        KeepBytes(mail.cbParentID, mail.lpParentID);
        mail.lpszMessageClass = KeepText(mail.lpszMessageClass, (mail.ulFlags & mapi::MAPI_UNICODE) != 0);
        break;
    }
    case mapi::fnevExtended:
        KeepBytes(item.info.ext.cb, item.info.ext.pbEventParameters);
        break;
    case mapi::fnevStatusObjectModified: {
        auto& status = item.info.statobj;
        KeepBytes(status.cbEntryID, status.lpEntryID);
        Props props;
        for (ULONG i = 0; i < status.cValues; ++i)
            props.push_back(CopyOf(status.lpPropVals[i]));
        status.lpPropVals = props.empty() ? nullptr : Keep(props);
        break;
    }
    default: { // the events of objects
        auto& object = item.info.obj;
        KeepBytes(object.cbEntryID, object.lpEntryID);
        KeepBytes(object.cbParentID, object.lpParentID);
        KeepBytes(object.cbOldID, object.lpOldID);
        KeepBytes(object.cbOldParentID, object.lpOldParentID);
        if (object.lpPropTagArray)
            KeepBytes(sizeof(ULONG) * (1 + std::size_t{object.lpPropTagArray->cValues}), object.lpPropTagArray);
        break;
    }
    }
    FItems.push_back(item);
}

void NotificationBatch::Append(NotificationBatch&& more)
{
    // Room for everything first: what has been moved must not stay behind with half of its memory.
    const auto makeRoom = [](auto& list, std::size_t count) {
        if (list.capacity() - list.size() < count)
            list.reserve(std::max(list.size() + count, 2 * list.capacity()));
    };
    makeRoom(FItems, more.FItems.size());
    makeRoom(FValues, more.FValues.size());
    makeRoom(FBytes, more.FBytes.size());
    FItems.insert(FItems.end(), more.FItems.begin(), more.FItems.end());
    std::move(more.FValues.begin(), more.FValues.end(), std::back_inserter(FValues));
    std::move(more.FBytes.begin(), more.FBytes.end(), std::back_inserter(FBytes));
    more = {};
}

} // namespace deftmapi::client
