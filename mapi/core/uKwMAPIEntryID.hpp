// Entry identifiers: the opaque byte strings by which MAPI names stores, folders, messages and address-book entries,
// carried as a variant that is Null or holds bytes.
//
// Applications keep the text form in their own databases, so its shape never changes. Nothing here compares
// identifiers: two different byte strings may name one object (IKwMAPIMsgStore::CompareEntryIDs asks the provider).
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

#include <memory>
#include <span>
#include <sstream>

namespace deftmapi
{

/// The text form: two upper-case hexadecimal digits per byte, in byte order, nothing between them. Null gives an empty
/// text.
/// @throws EKwConvertError  (this and the other functions that convert an identifier; not _GetMAPIEntryID) the variant
///                          holds something else than bytes, an array of small numbers, Null or Empty
[[nodiscard]] DEFTMAPI_API std::string EntryIDToStrA(const TKwMAPIEntryID& entryID);
[[nodiscard]] DEFTMAPI_API WideString EntryIDToStrW(const TKwMAPIEntryID& entryID);
/// The same in the library's default text type.
[[nodiscard]] DEFTMAPI_API WideString EntryIDToStr(const TKwMAPIEntryID& entryID);

/// Parses the text form; digits of either case. Blanks and control characters at both ends and a trailing odd character
/// are ignored; blank text gives Null, a single character gives an identifier of no bytes. 8-bit text is in the system
/// ANSI code page.
/// @throws EKwConvertError  a pair of characters is not hexadecimal
[[nodiscard]] DEFTMAPI_API TKwMAPIEntryID StrToEntryID(WideView text);
[[nodiscard]] DEFTMAPI_API TKwMAPIEntryID StrToEntryID(std::string_view text);

/// A copy of the bytes; nothing for Null.
[[nodiscard]] DEFTMAPI_API TKwBytes EntryIDToArr(const TKwMAPIEntryID& entryID);
/// No bytes give an identifier of no bytes, which is not Null.
[[nodiscard]] DEFTMAPI_API TKwMAPIEntryID ArrToEntryID(std::span<const std::uint8_t> bytes);

/// An identifier of `size` bytes copied from `data`. A size of 0 or less gives Null.
[[nodiscard]] DEFTMAPI_API TKwMAPIEntryID BinToEntryID(std::int32_t size, const void* data);
/// A new memory stream with the bytes, positioned at its beginning.
[[nodiscard]] DEFTMAPI_API std::unique_ptr<std::stringstream> EntryIDToBin(const TKwMAPIEntryID& entryID);

/// @throws EMAPI_INVALID_PARAMETER  the identifier is not 16 bytes long
[[nodiscard]] DEFTMAPI_API mapi::MAPIUID EntryIDToUID(const TKwMAPIEntryID& entryID);

/// Copies the bytes into memory of the session's MAPI allocator; the caller frees it with FreeBuffer of the same
/// session.
/// @param size  receives the number of bytes
/// @throws EKwAssertionFailed  session is null, or the variant holds something else than at least one byte
/// @throws what the session's AllocateBuffer raises
[[nodiscard]] DEFTMAPI_API void* _GetMAPIEntryID(IKwMAPISessionBase* session, const TKwMAPIEntryID& entryID,
                                                 mapi::ULONG& size);
[[nodiscard]] DEFTMAPI_API void* _GetMAPIEntryID(IKwMAPISessionBase* session, const TKwMAPIEntryID& entryID);

} // namespace deftmapi
