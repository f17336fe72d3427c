// The classes that the client library can create: what DllGetClassObject asks.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"

namespace deftmapi::client
{

/// The class is not one of ours.
inline constexpr mapi::HRESULT CLASS_E_CLASSNOTAVAILABLE = mapi::HRESULT(0x80040111);
/// The class cannot be part of another object.
inline constexpr mapi::HRESULT CLASS_E_NOAGGREGATION = mapi::HRESULT(0x80040110);

/// Creates the class object of `clsid` (CLSID_IConverterSession); iid is that of IClassFactory or IUnknown. The caller
/// owns the reference stored in *object, which is null after a failure.
/// @returns CLASS_E_CLASSNOTAVAILABLE, MAPI_E_INTERFACE_NOT_SUPPORTED, MAPI_E_INVALID_PARAMETER (no place for the
/// result)
mapi::HRESULT CreateClassObject(mapi::REFCLSID clsid, mapi::REFIID iid, void** object) noexcept;

} // namespace deftmapi::client
