// Property types and the parts of a property tag. The predefined tags are the definitions of the library, not constants
// here.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Property types: the low word of a property tag. MV_FLAG marks an array of the base type; MV_INSTANCE asks a table
// for one row per value.
inline constexpr ULONG PT_SRESTRICTION = 0x000000FD;
inline constexpr ULONG PT_ACTIONS      = 0x000000FE;
inline constexpr ULONG PT_FILE_HANDLE  = 0x00000103;
inline constexpr ULONG PT_FILE_EA      = 0x00000104;
inline constexpr ULONG PT_VIRTUAL      = 0x00000105;
inline constexpr ULONG MV_FLAG         = 0x00001000;
inline constexpr ULONG PT_UNSPECIFIED  = 0x00000000;
inline constexpr ULONG PT_NULL         = 0x00000001;
inline constexpr ULONG PT_I2           = 0x00000002;
inline constexpr ULONG PT_LONG         = 0x00000003;
inline constexpr ULONG PT_R4           = 0x00000004;
inline constexpr ULONG PT_DOUBLE       = 0x00000005;
inline constexpr ULONG PT_CURRENCY     = 0x00000006;
inline constexpr ULONG PT_APPTIME      = 0x00000007;
inline constexpr ULONG PT_ERROR        = 0x0000000A;
inline constexpr ULONG PT_BOOLEAN      = 0x0000000B;
inline constexpr ULONG PT_OBJECT       = 0x0000000D;
inline constexpr ULONG PT_I8           = 0x00000014;
inline constexpr ULONG PT_STRING8      = 0x0000001E;
inline constexpr ULONG PT_UNICODE      = 0x0000001F;
inline constexpr ULONG PT_SYSTIME      = 0x00000040;
inline constexpr ULONG PT_CLSID        = 0x00000048;
inline constexpr ULONG PT_BINARY       = 0x00000102;
inline constexpr ULONG PT_PTR          = 0x00000103;
inline constexpr ULONG PT_SHORT        = 0x00000002;
inline constexpr ULONG PT_I4           = 0x00000003;
inline constexpr ULONG PT_FLOAT        = 0x00000004;
inline constexpr ULONG PT_R8           = 0x00000005;
inline constexpr ULONG PT_LONGLONG     = 0x00000014;
inline constexpr ULONG PROP_TYPE_MASK  = 0x0000FFFF;
inline constexpr ULONG PROP_ID_NULL    = 0x00000000;
inline constexpr ULONG PROP_ID_INVALID = 0x0000FFFF;
inline constexpr ULONG PT_MV_I2        = 0x00001002;
inline constexpr ULONG PT_MV_LONG      = 0x00001003;
inline constexpr ULONG PT_MV_R4        = 0x00001004;
inline constexpr ULONG PT_MV_DOUBLE    = 0x00001005;
inline constexpr ULONG PT_MV_CURRENCY  = 0x00001006;
inline constexpr ULONG PT_MV_APPTIME   = 0x00001007;
inline constexpr ULONG PT_MV_SYSTIME   = 0x00001040;
inline constexpr ULONG PT_MV_STRING8   = 0x0000101E;
inline constexpr ULONG PT_MV_BINARY    = 0x00001102;
inline constexpr ULONG PT_MV_UNICODE   = 0x0000101F;
inline constexpr ULONG PT_MV_CLSID     = 0x00001048;
inline constexpr ULONG PT_MV_I8        = 0x00001014;
inline constexpr ULONG PT_MV_SHORT     = 0x00001002;
inline constexpr ULONG PT_MV_I4        = 0x00001003;
inline constexpr ULONG PT_MV_FLOAT     = 0x00001004;
inline constexpr ULONG PT_MV_R8        = 0x00001005;
inline constexpr ULONG PT_MV_LONGLONG  = 0x00001014;
inline constexpr ULONG MV_INSTANCE     = 0x00002000;
inline constexpr ULONG MVI_FLAG        = 0x00003000;
inline constexpr ULONG PT_SVREID       = 0x000000FB;

// Kinds of a property name, and flags of GetNamesFromIDs.
inline constexpr ULONG MAPI_NO_STRINGS = 1;
inline constexpr ULONG MAPI_NO_IDS     = 2;
inline constexpr ULONG MNID_ID         = 0;
inline constexpr ULONG MNID_STRING     = 1;
// clang-format on

/// Property tag of an identifier (high word) and a type (low word).
constexpr ULONG PROP_TAG(ULONG type, ULONG id)
{
    return (id << 16) | type;
}

/// Type of a property tag.
constexpr ULONG PROP_TYPE(ULONG tag)
{
    return tag & PROP_TYPE_MASK;
}

/// Identifier of a property tag.
constexpr ULONG PROP_ID(ULONG tag)
{
    return tag >> 16;
}

/// The tag with another type.
constexpr ULONG CHANGE_PROP_TYPE(ULONG tag, ULONG type)
{
    return (tag & ~PROP_TYPE_MASK) | type;
}

} // namespace mapi
