// The out-of-line part of the 8-bit text stream.
#include "support/uKwStringStream.hpp"

#include <algorithm>
#include <utility>

namespace deftmapi
{

std::string TKwStringStream::TakeText() noexcept
{
    FPosition = 0;
    return std::exchange(FText, {});
}

void TKwStringStream::Seek(std::size_t position) noexcept
{
    FPosition = std::min(position, FText.size());
}

bool TKwStringStream::ReadChar(char& c) noexcept
{
    if (AtEnd())
        return false;
    c = FText[FPosition++];
    return true;
}

std::string TKwStringStream::Read(std::size_t count)
{
    std::string result = FText.substr(FPosition, count);
    FPosition += result.size();
    return result;
}

void TKwStringStream::Clear() noexcept
{
    FText.clear();
    FPosition = 0;
}

} // namespace deftmapi
