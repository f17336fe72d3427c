// Internal: IStream::CopyTo for streams of the library's own.
#pragma once

#include "mapi/headers/uKwMAPIComH.hpp"

namespace deftmapi
{

/// Copies up to count bytes from the source's position to the target's, in pieces. `read` and `written` receive what
/// was done, also after a failure; both may be null.
[[nodiscard]] mapi::HRESULT KwCopyStream(mapi::IStream& source, mapi::IStream* target, mapi::ULARGE_INTEGER count,
                                         mapi::ULARGE_INTEGER* read, mapi::ULARGE_INTEGER* written);

} // namespace deftmapi
