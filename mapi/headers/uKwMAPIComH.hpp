// The COM interfaces that MAPI builds on: life time, memory, streams, structured storage, class factories.
//
// The destructors of all interfaces are protected and not virtual: a virtual one would take slots of the method table,
// and an object ends in Release, never in delete.
#pragma once

#include "mapi/headers/uKwMAPIForwardH.hpp"
#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Access and sharing modes of storages and streams.
inline constexpr ULONG STGM_DIRECT           = 0x00000000;
inline constexpr ULONG STGM_TRANSACTED       = 0x00010000;
inline constexpr ULONG STGM_SIMPLE           = 0x08000000;
inline constexpr ULONG STGM_READ             = 0x00000000;
inline constexpr ULONG STGM_WRITE            = 0x00000001;
inline constexpr ULONG STGM_READWRITE        = 0x00000002;
inline constexpr ULONG STGM_SHARE_DENY_NONE  = 0x00000040;
inline constexpr ULONG STGM_SHARE_DENY_READ  = 0x00000030;
inline constexpr ULONG STGM_SHARE_DENY_WRITE = 0x00000020;
inline constexpr ULONG STGM_SHARE_EXCLUSIVE  = 0x00000010;
inline constexpr ULONG STGM_PRIORITY         = 0x00040000;
inline constexpr ULONG STGM_DELETEONRELEASE  = 0x04000000;
inline constexpr ULONG STGM_NOSCRATCH        = 0x00100000;
inline constexpr ULONG STGM_CREATE           = 0x00001000;
inline constexpr ULONG STGM_CONVERT          = 0x00020000;
inline constexpr ULONG STGM_FAILIFTHERE      = 0x00000000;
inline constexpr ULONG STGM_NOSNAPSHOT       = 0x00200000;
inline constexpr ULONG STGM_DIRECT_SWMR      = 0x00400000;

// Storage element types.
inline constexpr ULONG STGTY_REPEAT    = 0x00000100;
inline constexpr ULONG STGTY_STORAGE   = 0x00000001;
inline constexpr ULONG STGTY_STREAM    = 0x00000002;
inline constexpr ULONG STGTY_LOCKBYTES = 0x00000003;
inline constexpr ULONG STGTY_PROPERTY  = 0x00000004;

// Storage commit flags.
inline constexpr ULONG STGC_DEFAULT                            = 0x00000000;
inline constexpr ULONG STGC_OVERWRITE                          = 0x00000001;
inline constexpr ULONG STGC_ONLYIFCURRENT                      = 0x00000002;
inline constexpr ULONG STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE = 0x00000004;
inline constexpr ULONG STGC_CONSOLIDATE                        = 0x00000008;

// Storage move flags.
inline constexpr ULONG STGMOVE_MOVE        = 0;
inline constexpr ULONG STGMOVE_COPY        = 1;
inline constexpr ULONG STGMOVE_SHALLOWCOPY = 2;

// Stream seek origins.
inline constexpr ULONG STREAM_SEEK_SET = 0;
inline constexpr ULONG STREAM_SEEK_CUR = 1;
inline constexpr ULONG STREAM_SEEK_END = 2;

// Stream lock types.
inline constexpr ULONG LOCK_WRITE     = 0x00000001;
inline constexpr ULONG LOCK_EXCLUSIVE = 0x00000002;
inline constexpr ULONG LOCK_ONLYONCE  = 0x00000004;

// Flags of Stat: STATFLAG_NONAME saves the allocation of the name.
inline constexpr ULONG STATFLAG_DEFAULT = 0;
inline constexpr ULONG STATFLAG_NONAME  = 1;
inline constexpr ULONG STATFLAG_NOOPEN  = 2;

// Types of a VARIANT or of a stored OLE property.
inline constexpr ULONG VT_EMPTY    = 0;
inline constexpr ULONG VT_NULL     = 1;
inline constexpr ULONG VT_I2       = 2;
inline constexpr ULONG VT_I4       = 3;
inline constexpr ULONG VT_R4       = 4;
inline constexpr ULONG VT_R8       = 5;
inline constexpr ULONG VT_CY       = 6;
inline constexpr ULONG VT_DATE     = 7;
inline constexpr ULONG VT_BSTR     = 8;
inline constexpr ULONG VT_DISPATCH = 9;
inline constexpr ULONG VT_ERROR    = 10;
inline constexpr ULONG VT_BOOL     = 11;
inline constexpr ULONG VT_VARIANT  = 12;
inline constexpr ULONG VT_UNKNOWN  = 13;
inline constexpr ULONG VT_DECIMAL  = 14;
inline constexpr ULONG VT_I1       = 16;
inline constexpr ULONG VT_UI1      = 17;
inline constexpr ULONG VT_UI2      = 18;
inline constexpr ULONG VT_UI4      = 19;
inline constexpr ULONG VT_I8       = 20;
inline constexpr ULONG VT_UI8      = 21;
inline constexpr ULONG VT_INT      = 22;
inline constexpr ULONG VT_UINT     = 23;
inline constexpr ULONG VT_LPSTR    = 30;
inline constexpr ULONG VT_LPWSTR   = 31;
inline constexpr ULONG VT_FILETIME = 64;
inline constexpr ULONG VT_BLOB     = 65;
inline constexpr ULONG VT_STREAM   = 66;
inline constexpr ULONG VT_CLSID    = 72;
inline constexpr ULONG VT_VECTOR   = 4096;
inline constexpr ULONG VT_ARRAY    = 8192;
inline constexpr ULONG VT_BYREF    = 16384;
inline constexpr ULONG VT_TYPEMASK = 4095;
// clang-format on

/// Description of a storage element. pwcsName is allocated with the COM allocator and freed by the caller.
struct STATSTG
{
    LPOLESTR pwcsName;
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
};

struct IEnumSTATSTG;

// Automation types, only passed on.
struct ITypeInfo;
struct DISPPARAMS;
struct VARIANT;
struct EXCEPINFO;

/// Identity and life time of every object.
struct IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG DEFTMAPI_STDCALL AddRef() = 0;
    virtual ULONG DEFTMAPI_STDCALL Release() = 0;

protected:
    ~IUnknown() = default;
};

/// The COM allocator.
struct IMalloc : IUnknown
{
    virtual void* DEFTMAPI_STDCALL Alloc(SIZE_T cb) = 0;
    virtual void* DEFTMAPI_STDCALL Realloc(void* pv, SIZE_T cb) = 0;
    virtual void DEFTMAPI_STDCALL Free(void* pv) = 0;
    virtual SIZE_T DEFTMAPI_STDCALL GetSize(void* pv) = 0;
    virtual int DEFTMAPI_STDCALL DidAlloc(void* pv) = 0;
    virtual void DEFTMAPI_STDCALL HeapMinimize() = 0;

protected:
    ~IMalloc() = default;
};

/// Bytes in order.
struct ISequentialStream : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;

protected:
    ~ISequentialStream() = default;
};

/// Bytes at random positions.
struct IStream : ISequentialStream
{
    virtual HRESULT DEFTMAPI_STDCALL Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetSize(ULARGE_INTEGER libNewSize) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                            ULARGE_INTEGER* pcbWritten) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Revert() = 0;
    virtual HRESULT DEFTMAPI_STDCALL LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT DEFTMAPI_STDCALL UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Clone(IStream** ppstm) = 0;

protected:
    ~IStream() = default;
};

/// A folder of streams and storages.
struct IStorage : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                                  DWORD reserved2, IStream** ppstm) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode,
                                                DWORD reserved2, IStream** ppstm) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                                   DWORD reserved2, IStorage** ppstg) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                                                 SNB snbExclude, DWORD reserved, IStorage** ppstg) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                                            IStorage* pstgDest) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest,
                                                   const OLECHAR* pwcsNewName, DWORD grfFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Revert() = 0;
    virtual HRESULT DEFTMAPI_STDCALL EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                                                  IEnumSTATSTG** ppenum) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DestroyElement(const OLECHAR* pwcsName) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime,
                                                     const FILETIME* patime, const FILETIME* pmtime) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetClass(REFCLSID clsid) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetStateBits(DWORD grfStateBits, DWORD grfMask) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;

protected:
    ~IStorage() = default;
};

/// The elements of a storage.
struct IEnumSTATSTG : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Skip(ULONG celt) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Reset() = 0;
    virtual HRESULT DEFTMAPI_STDCALL Clone(IEnumSTATSTG** ppenum) = 0;

protected:
    ~IEnumSTATSTG() = default;
};

/// Creates the objects of one class.
struct IClassFactory : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT DEFTMAPI_STDCALL LockServer(BOOL fLock) = 0;

protected:
    ~IClassFactory() = default;
};

/// Names the class of a stored object.
struct IPersist : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetClassID(CLSID* pClassID) = 0;

protected:
    ~IPersist() = default;
};

/// Late-bound calls (Automation).
struct IDispatch : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetTypeInfoCount(UINT* pctinfo) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                                   DISPID* rgDispId) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                            DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                            UINT* puArgErr) = 0;

protected:
    ~IDispatch() = default;
};

} // namespace mapi

// Where the Windows headers had these as macros, their own names keep working.
#ifdef DEFTMAPI_GLOBAL_STORAGE_MODES
using mapi::STGM_CONVERT;
using mapi::STGM_CREATE;
using mapi::STGM_DELETEONRELEASE;
using mapi::STGM_DIRECT;
using mapi::STGM_DIRECT_SWMR;
using mapi::STGM_FAILIFTHERE;
using mapi::STGM_NOSCRATCH;
using mapi::STGM_NOSNAPSHOT;
using mapi::STGM_PRIORITY;
using mapi::STGM_READ;
using mapi::STGM_READWRITE;
using mapi::STGM_SHARE_DENY_NONE;
using mapi::STGM_SHARE_DENY_READ;
using mapi::STGM_SHARE_DENY_WRITE;
using mapi::STGM_SHARE_EXCLUSIVE;
using mapi::STGM_SIMPLE;
using mapi::STGM_TRANSACTED;
using mapi::STGM_WRITE;
using mapi::STGTY_REPEAT;
#endif
