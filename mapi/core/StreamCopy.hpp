// Internal: what IStream::CopyTo and Seek are for every stream of the library's own.
#pragma once

#include "mapi/headers/uKwMAPIComH.hpp"

namespace deftmapi
{

/// Copies up to count bytes from the source's position to the target's, in pieces. `read` and `written` receive what
/// was done, also after a failure; both may be null.
[[nodiscard]] mapi::HRESULT KwCopyStream(mapi::IStream& source, mapi::IStream* target, mapi::ULARGE_INTEGER count,
                                         mapi::ULARGE_INTEGER* read, mapi::ULARGE_INTEGER* written);

/// Moves a position by `move` from `base`. Nothing moves when it would leave the range of positions.
/// @param newPosition  receives the new position; may be null
/// @returns S_OK or STG_E_INVALIDFUNCTION
[[nodiscard]] mapi::HRESULT KwSeekFrom(std::uint64_t base, mapi::LARGE_INTEGER move, std::uint64_t& position,
                                       mapi::ULARGE_INTEGER* newPosition) noexcept;

} // namespace deftmapi
