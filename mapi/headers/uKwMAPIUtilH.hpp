// Tables and properties in memory, and controls of display tables: what providers and the MAPI utilities are made of.
#pragma once

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

// clang-format off
// Flags of ITableData::HrNotify and access of IPropData.
inline constexpr ULONG TAD_ALL_ROWS    = 0x00000001;
inline constexpr ULONG IPROP_READONLY  = 0x00000001;
inline constexpr ULONG IPROP_READWRITE = 0x00000002;
inline constexpr ULONG IPROP_CLEAN     = 0x00010000;
inline constexpr ULONG IPROP_DIRTY     = 0x00020000;
// clang-format on

/// A button in a display table.
struct IMAPIControl : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Activate(ULONG ulFlags, ULONG_PTR ulUIParam) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetState(ULONG ulFlags, ULONG* lpulState) = 0;

protected:
    ~IMAPIControl() = default;
};

/// A table in memory whose rows its owner changes. Its identifier is IID_IMAPITableData.
struct ITableData : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL HrGetView(LPSSortOrderSet lpSSortOrderSet, CALLERRELEASE* lpfCallerRelease,
                                               ULONG_PTR ulCallerData, LPMAPITABLE* lppMAPITable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrModifyRow(LPSRow) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrDeleteRow(LPSPropValue lpSPropValue) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrQueryRow(LPSPropValue lpsPropValue, LPSRow* lppSRow, ULONG* lpuliRow) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrEnumRow(ULONG ulRowNumber, LPSRow* lppSRow) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrNotify(ULONG ulFlags, ULONG cValues, LPSPropValue lpSPropValue) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrInsertRow(ULONG uliRow, LPSRow lpSRow) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrModifyRows(ULONG ulFlags, LPSRowSet lpSRowSet) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrDeleteRows(ULONG ulFlags, LPSRowSet lprowsetToDelete, ULONG* cRowsDeleted) = 0;

protected:
    ~ITableData() = default;
};

/// Properties in memory, with access rights for each. Its identifier is IID_IMAPIPropData.
struct IPropData : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL HrSetObjAccess(ULONG ulAccess) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrSetPropAccess(LPSPropTagArray lpPropTagArray, ULONG* rgulAccess) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrGetPropAccess(LPSPropTagArray* lppPropTagArray, ULONG** lprgulAccess) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HrAddObjProps(LPSPropTagArray lppPropTagArray,
                                                   LPSPropProblemArray* lprgulAccess) = 0;

protected:
    ~IPropData() = default;
};

} // namespace mapi
