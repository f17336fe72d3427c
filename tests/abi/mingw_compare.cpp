// Compares our declarations with the platform headers of mingw-w64 while it compiles; only the slots of the methods,
// which the language does not let a constant see, are compared at run time (test_abi.cpp). Ours come first, and
// their values are kept in constants, because the platform's are macros that would rewrite ours.
#include "AbiFacts.hpp"

#include "mapi/headers/uKwMAPIHeaders.hpp"

#include <bit>
#include <type_traits>

// Names that turn into macros below.
#include "mingw_ours.inc"
namespace ours
{
constexpr mapi::MAPIUID OneOffUid = mapi::MAPI_ONE_OFF_UID;
constexpr mapi::MAPIUID StoreFileUid = mapi::MSPST_UID_PROVIDER;
} // namespace ours

#include <windows.h>

#include <mapix.h>

#include <imessage.h>
#include <mapi.h>
#include <mapihook.h>
#include <mapispi.h>
#include <mapiutil.h>
#include <mspst.h>
#include <objidl.h>

// The form headers come after the macros that rename their methods are gone.
#undef GetMessage
#undef GetProp
#undef SetProp
#include <mapiform.h>

// Included once more with another meaning of its macro: the identifiers as constants that the compiler can compare.
namespace mingw
{
#undef DEFINE_OLEGUID
#define DEFINE_OLEGUID(name, l, w1, w2)                                                                                \
    [[maybe_unused]] constexpr mapi::GUID name = {l, w1, w2, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}
#undef MAPIGUID_H
#include <mapiguid.h>
} // namespace mingw

namespace
{

template <typename T>
concept Complete = requires
{
    sizeof(T);
};

/// Whether two types are passed alike: both pointers to alike things, or numbers of one size and sign, or structures of
/// one size. Narrow allows a ULONG of theirs where ours is pointer-sized.
template <typename Ours, typename Theirs, bool Narrow>
constexpr bool Alike()
{
    if constexpr (std::is_reference_v<Ours> || std::is_reference_v<Theirs>)
        return std::is_reference_v<Ours> && std::is_reference_v<Theirs> &&
               Alike<std::remove_reference_t<Ours>, std::remove_reference_t<Theirs>, Narrow>();
    else if constexpr (std::is_pointer_v<Ours> || std::is_pointer_v<Theirs>) {
        using OurTarget = std::remove_pointer_t<Ours>;
        using TheirTarget = std::remove_pointer_t<Theirs>;
        if constexpr (!std::is_pointer_v<Ours> || !std::is_pointer_v<Theirs>)
            return false;
        else if constexpr (std::is_function_v<OurTarget> || std::is_function_v<TheirTarget>)
            return std::is_function_v<OurTarget> && std::is_function_v<TheirTarget>;
        else if constexpr (std::is_void_v<OurTarget> || std::is_void_v<TheirTarget>)
            return true;
        else
            return std::is_const_v<OurTarget> == std::is_const_v<TheirTarget> &&
                   Alike<std::remove_cv_t<OurTarget>, std::remove_cv_t<TheirTarget>, Narrow>();
    } else if constexpr (std::is_void_v<Ours> || std::is_void_v<Theirs>)
        return std::is_void_v<Ours> && std::is_void_v<Theirs>;
    else if constexpr (!Complete<Ours> || !Complete<Theirs>)
        return true;
    else if constexpr (std::is_class_v<Ours> || std::is_union_v<Ours>)
        return (std::is_class_v<Theirs> || std::is_union_v<Theirs>)&&sizeof(Ours) == sizeof(Theirs);
    else if constexpr (Narrow && std::is_same_v<Ours, mapi::ULONG_PTR> && std::is_same_v<Theirs, ::ULONG>)
        return true;
    else if constexpr (std::is_enum_v<Theirs>)
        return std::is_integral_v<Ours> && sizeof(Ours) == sizeof(Theirs);
    else
        return std::is_integral_v<Ours> == std::is_integral_v<Theirs> &&
               std::is_signed_v<Ours> == std::is_signed_v<Theirs> && sizeof(Ours) == sizeof(Theirs);
}

template <typename Result, typename... Parameters>
struct Signature
{};

template <typename Result, typename Class, typename... Parameters>
Signature<Result, Parameters...> SignatureOf(Result (DEFTMAPI_STDCALL Class::*)(Parameters...));

template <typename Result, typename... Parameters>
Signature<Result, Parameters...> SignatureOf(Result(DEFTMAPI_STDCALL*)(Parameters...));

template <bool Narrow, typename OurResult, typename... Ours, typename TheirResult, typename... Theirs>
constexpr bool AlikeCalls(Signature<OurResult, Ours...>, Signature<TheirResult, Theirs...>)
{
    if constexpr (sizeof...(Ours) == sizeof...(Theirs))
        return Alike<OurResult, TheirResult, Narrow>() && (Alike<Ours, Theirs, Narrow>() && ...);
    else
        return false;
}

/// Whether two pointers to functions or to methods are called alike.
template <bool Narrow, typename Ours, typename Theirs>
constexpr bool SameCall = AlikeCalls<Narrow>(decltype(SignatureOf(Ours{})){}, decltype(SignatureOf(Theirs{})){});

constexpr bool SameBytes(const mapi::GUID& ours, const mapi::GUID& theirs)
{
    return ours == theirs;
}

constexpr bool SameBytes(const mapi::GUID& ours, const ::GUID& theirs)
{
    return ours == std::bit_cast<mapi::GUID>(theirs);
}

/// Profile sections are identifiers in the platform headers and bytes in ours.
constexpr bool SameBytes(const mapi::MAPIUID& ours, const mapi::GUID& theirs)
{
    return std::bit_cast<mapi::GUID>(ours) == theirs;
}

#include "mingw_theirs.inc"

static_assert(ours::OneOffUid == mapi::MAPIUID{MAPI_ONE_OFF_UID}, "MAPI_ONE_OFF_UID");
static_assert(mapi::PS_PROFILE_PROPERTIES == mapi::MAPIUID{PS_PROFILE_PROPERTIES_INIT}, "PS_PROFILE_PROPERTIES");
static_assert(ours::StoreFileUid == mapi::MAPIUID{MSPST_UID_PROVIDER}, "MSPST_UID_PROVIDER");

} // namespace

std::span<const deftmapi::abi::SlotPair> deftmapi::abi::MingwSlots()
{
    static const SlotPair pairs[] = {
#include "mingw_slots.inc"
    };
    return pairs;
}
