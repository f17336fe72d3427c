#!/usr/bin/env python3
"""Writes the comparison of our declarations with the headers that mingw-w64 ships.

usage: generate_mingw_checks.py FACTS OUTPUT

Its headers are somebody else's reading of the same interface, so an error that got into the facts shows here. What
mingw-w64 does not declare, or declares as it was on 32-bit Windows, is listed below with the reason; anything else must
agree, or the comparison does not compile.
"""

import fnmatch
import pathlib
import sys

import platform_facts as facts

# What mingw-w64 does not declare, by reason. Patterns are those of file names; they apply to structures, interfaces,
# identifiers and entry points alike.
ABSENT = {
    "published with Exchange, not with the platform SDK": (
        "IExchange*", "IID_IExchange*", "ROWENTRY", "ROWLIST", "ACTION", "ACTIONS", "READSTATE",
        "PS_EXCHFORM", "PSETID_Exchange1", "pbExchangeProvider*", "MUIDEMSAB", "MUID_STORE_*", "MUID_LONGTERM_*",
    ),
    "published with Outlook, not with the platform SDK": (
        "IOlk*", "IID_IOlk*", "CLSID_*", "ACCT_*", "IConverterSession", "IID_IConverterSession",
        "IAttachmentSecurity", "IID_IAttachmentSecurity", "IProxyStoreObject", "IID_IProxyStoreObject",
        "IMAPIGetSession", "IID_IMAPIGetSession", "IMAPISecureMessage", "IID_IMAPISecureMessage",
        "IContabAdmin", "IID_IContabAdmin", "IMSCapabilities", "IID_IMSCapabilities",
        "IMAPIClientShutdown", "IID_IMAPIClientShutdown", "IMAPIProviderShutdown", "IID_IMAPIProviderShutdown",
        "IID_IFolderSupport", "IID_IMAPIFolderNoProvChk", "IID_IMessageNoProvChk", "IID_IMAPIOffline*",
        "IID_IMAPISync*",
        "PSETID_*", "SETID_*", "GUID_PKMDocSummaryInformation", "MEETING_GLOBAL_OBJECT_ID_PREFIX",
        "MUIDCONTAB", "MUIDWRAPPEDCONTACT", "MUIDSTOREWRAP", "MUID_CAPONE_PROFILE_SECTION",
        "pbGlobalProfileSectionGuid",
    ),
    "newer than the mingw-w64 headers": (
        "IMsgServiceAdmin2", "IID_IMsgServiceAdmin2", "IID_IMessageRaw", "PS_INTERNET_HEADERS",
        "SAnnotationRestriction", "SCountRestriction", "RTF_WCSINFO", "RTF_WCSRETINFO", "Mapi*W",
    ),
    "a name of ours for a value that needs none there": ("IID_EMPTY",),
    "bytes there, compared in mingw_compare.cpp": ("MAPI_ONE_OFF_UID", "PS_PROFILE_PROPERTIES", "MSPST_UID_PROVIDER"),
}

# Members that came later; the size of the structure and its other members are compared.
ABSENT_FIELDS = {
    ("MAPINAMEID", "Kind.lID_Reserved"),  # came with 64-bit MAPI
    ("SPropValue", "Value.lpv"),
    ("SRestriction", "res.resAnnotation"),
    ("SRestriction", "res.resCount"),
}

# Groups of constants that were published with Exchange or Outlook.
ABSENT_CONSTANT_GROUPS = {
    "account management",
    "account management result",
    "account property tag",
    "rule action type",
    "Exchange profile version",
    "Exchange profile config flag",
    "Exchange profile connect flag",
    "Exchange profile transport flag",
    "store open flag (PR_PROFILE_OPEN_FLAGS, CreateStoreEntryID)",
    "Exchange profile section type",
    "editor format (PR_MSG_EDITOR_FORMAT)",
    "automatic response suppression",
    "row list flag (IExchangeModifyTable)",
    "folder right",
    "rule state",
    "rule action flavour",
    "rule error",
    "mailbox and public folder table",
    "fast transfer method",
    "synchronisation flag",
    "synchronisation result",
    "offline folder flag",
    "distribution list report flag",
    "retention flag",
    "verb",
    "store capability",
    "aging granularity",
    "extended display type",
    "RPC over HTTP",
    "icon index",
    "native body",
    "folder support mask",
    "recurrence exception override flag",
    "wrapped contact entry identifier type",
    "change highlight",
    "internet encoding (PR_SEND_INTERNET_ENCODING)",
    "MIME converter flag",
    "contacts address book entry type",
    "Exchange profile user-interface state",
    "recurrence pattern",
    "internet format (PR_INETMAIL_OVERRIDE_FORMAT)",
    "store file config flag",
    "recipient flag (PR_RECIPIENT_FLAGS)",
    "additional special folder",
    "message security flag (PR_SECURITY_FLAGS)",
    "appointment state flag",
    "appointment auxiliary flag",
    "client intent",
    "follow-up status",
    "meeting type",
    "native body info (PR_NATIVE_BODY_INFO)",
    "busy status",
    "recurrence type",
    "response status",
    "task",
    "MIME converter encoding",
    "MIME converter save format",
    "MIME converter character set use",
}

# Constants that are newer than the mingw-w64 headers, within groups that it has.
ABSENT_CONSTANTS = {
    # store file encryption: the offline store is Exchange's
    "OSTF_NO_ENCRYPTION", "OSTF_COMPRESSABLE_ENCRYPTION", "OSTF_BEST_ENCRYPTION",
    # result code
    "MAPI_E_RECONNECTED", "MAPI_E_OFFLINE", "MAPI_E_STORE_FULL",
    # property type
    "PT_SRESTRICTION", "PT_ACTIONS", "PT_FILE_HANDLE", "PT_FILE_EA", "PT_VIRTUAL", "PT_PTR", "PT_SVREID",
    # common method flag
    "MAPI_RESERVED1", "MDB_OPEN_MSG_NO_BLOCK", "MAPI_EXTENDEDCALLBACKS", "MAPI_NO_CACHE", "MAPI_CACHE_ONLY",
    "MAPI_FORCE_ACCESS", "MAPI_GAL_ONLY",
    # event mask
    "fnevIndexing",
    # SaveChanges flag
    "MDB_SAVE_MSG_UNLOCK", "SPAMFILTER_ONSAVE", "ITEMPROC_FORCE", "NON_EMS_XP_SAVE",
    # message status
    "MSGSTATUS_IN_CONFLICT", "MSGSTATUS_MDNSENT", "MSGSTATUS_ANSWERED", "MSGSTATUS_DRAFT",
    # container table flag
    "SHOW_SOFT_DELETES", "SHOW_SUBFOLDERS", "SUPRESS_NOTIFICATIONS_ON_MY_ACTIONS",
    # DeleteFolder and EmptyFolder flag
    "DELETE_HARD_DELETE",
    # relational operator
    "RELOP_MEMBER_OF_DL",
    # CopyMessages flag
    "MESSAGE_BEST_BODY", "MESSAGE_SEND_ENTRYID",
    # address book open flag
    "AB_SHOW_PHANTOMS", "AB_SHOW_OTHERS", "EMS_AB_ADDRESS_LOOKUP", "AB_UNICODEUI", "AB_UNICODE_OK",
    # simple MAPI call flag
    "MAPI_DIALOG_MODELESS", "MAPI_FORCE_UNICODE",
    # logon flag
    "MAPI_BG_SESSION", "MAPI_APP_PROFILE",
    # MAPIInitialize
    "MAPI_NO_COINIT",
    # OpenMsgStore flag
    "MDB_ONLINE", "MDB_OST_LOGON_UNICODE", "MDB_OST_LOGON_ANSI",
    # store support mask
    "STORE_UNICODE_OK", "STORE_ITEMPROC", "STORE_ANSI_OK", "STORE_FILTER_SEARCH_OK", "STORE_FULLTEXT_QUERY_OK",
    "STORE_HTML_OK", "STORE_LOCALSTORE", "STORE_PUSHER_OK", "STORE_RULES_OK",
    # display type
    "DT_ROOM", "DT_EQUIPMENT", "DT_SEC_DISTLIST", "DT_CONTAINER", "DT_TEMPLATE", "DT_ADDRESS_TEMPLATE", "DT_SEARCH",
    # one-off entry identifier flag word
    "MAPI_ONE_OFF_NOLOOKUP", "MAPI_ONE_OFF_MAEMASK", "MAPI_ONE_OFF_BINHEX", "MAPI_ONE_OFF_UUENCODE",
    "MAPI_ONE_OFF_APPLESINGLE", "MAPI_ONE_OFF_APPLEDOUBLE", "MAPI_ONE_OFF_FMTMASK", "MAPI_ONE_OFF_TEXTONLY",
    "MAPI_ONE_OFF_HTMLONLY", "MAPI_ONE_OFF_TEXTANDHTML",
    # sort order
    "TABLE_SORT_CATEG_MAX", "TABLE_SORT_CATEG_MIN",
    # fuzzy level
    "FL_PHRASE_MATCH", "FL_PREFIX_ON_ANY_WORD",
    # restriction type
    "RES_COUNT", "RES_ANNOTATION",
    # search state
    "CI_TOTALLY", "CI_WITH_TWIR_RESIDUAL", "SEARCH_COMPLETE", "SEARCH_MAYBE_STATIC", "SEARCH_PARTIAL",
    "SEARCH_STATIC", "TWIR_MOSTLY", "TWIR_TOTALLY",
    # search flag
    "CONTENT_INDEXED_SEARCH", "NON_CONTENT_INDEXED_SEARCH", "STATIC_SEARCH",
    # message flag (PR_MESSAGE_FLAGS)
    "MSGFLAG_ORIGIN_INTERNET", "MSGFLAG_ORIGIN_MISC_EXT", "MSGFLAG_ORIGIN_X400", "MSGFLAG_OUTLOOK_NON_EMS_XP",
    # attachment method
    "ATTACH_BY_WEBREFERENCE", "ATTACH_BY_WEB_REF",
    # form platform
    "MAPIFORM_CPU_X64", "MAPIFORM_OS_WINNT_50", "MAPIFORM_OS_WINNT_60",
}

# The identifiers of these come with objidl.h and its kin.
COM_INTERFACES = {
    "IUnknown",
    "IMalloc",
    "ISequentialStream",
    "IStream",
    "IStorage",
    "IEnumSTATSTG",
    "IClassFactory",
    "IPersist",
    "IDispatch",
    "IDataObject",
}

# mingw-w64 adds a template of the same name; this picks the method.
OVERLOADED = {
    "IUnknown.QueryInterface": "static_cast<HRESULT (STDMETHODCALLTYPE ::IUnknown::*)(REFIID, void**)>",
}


def absent(name):
    return any(fnmatch.fnmatchcase(name, pattern) for patterns in ABSENT.values() for pattern in patterns)


def captured_constants(directory):
    yield "namespace ours"
    yield "{"
    for _, name, _ in facts.constants(directory):
        yield f"[[maybe_unused]] constexpr std::uint32_t c_{name} = static_cast<std::uint32_t>(mapi::{name});"
    yield "} // namespace ours"


def constant_checks(directory):
    for group, name, _ in facts.constants(directory):
        check = f'static_assert(ours::c_{name} == static_cast<std::uint32_t>({name}), "{name}");'
        if name in ABSENT_CONSTANTS or group in ABSENT_CONSTANT_GROUPS:
            # A later mingw-w64 may have it; then it is compared.
            check = f"#ifdef {name}\n{check}\n#endif"
        yield check


def structure_checks(directory):
    for structure in facts.structures(directory).values():
        name = structure.name
        if absent(name):
            continue
        yield f'static_assert(sizeof(mapi::{name}) == sizeof(::{name}), "size of {name}");'
        for member in structure.fields:
            if (name, member.name) in ABSENT_FIELDS:
                continue
            path = facts.NAMELESS.get((name, member.name), member.name)
            yield (
                f"static_assert(offsetof(mapi::{name}, {path}) == offsetof(::{name}, {member.name}), "
                f'"offset of {name}.{member.name}");'
            )


def guid_checks(directory):
    for name, _, _, kind in facts.guids(directory):
        if kind == "text" or absent(name):
            continue
        # The COM identifiers belong to the interfaces there, the others to a list of their own.
        interface = name.removeprefix("IID_")
        theirs = f"__uuidof(::{interface})" if interface in COM_INTERFACES else f"mingw::{name}"
        yield f'static_assert(SameBytes(mapi::{name}, {theirs}), "{name}");'


def call_check(ours, theirs, parameters, name):
    # mingw-w64 still declares ULONG for what 64-bit MAPI has as ULONG_PTR: user-interface handles, connection numbers,
    # bookmarks, message references and tokens, caller data. Only calls with such a parameter may differ, and only so.
    narrow = any(parameter.startswith(("ULONG_PTR", "BOOKMARK")) for parameter in parameters)
    return f'static_assert(SameCall<{str(narrow).lower()}, {ours}, {theirs}>, "{name}");'


def shared_methods(directory):
    """(method, its name with the interface, pointer to ours, pointer to theirs)"""
    for interface in facts.interfaces(directory).values():
        if absent(interface.name):
            continue
        for method in interface.methods:
            name = f"{interface.name}.{method.name}"
            pointer = f"::{interface.name}::{method.name}"
            theirs = f"{OVERLOADED[name]}(&{pointer})" if name in OVERLOADED else f"&{pointer}"
            yield method, name, f"&mapi{pointer}", theirs


def method_checks(directory):
    for method, name, ours, theirs in shared_methods(directory):
        yield call_check(f"decltype({ours})", f"decltype({theirs})", method.parameters, name)


def slot_pairs(directory):
    for _, name, ours, theirs in shared_methods(directory):
        yield f'{{"{name}", SlotOf({ours}), SlotOf({theirs})}},'


def function_checks(directory):
    for function in facts.functions(directory):
        if function.export and not absent(function.export):
            yield call_check(
                f"mapi::{function.name}", f"decltype(&::{function.export})", function.parameters, function.export
            )


def main():
    directory, output = sys.argv[1], pathlib.Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    theirs = (constant_checks, structure_checks, guid_checks, method_checks, function_checks)
    files = {
        "mingw_ours.inc": list(captured_constants(directory)),
        "mingw_theirs.inc": [line for checks in theirs for line in checks(directory)],
        "mingw_slots.inc": list(slot_pairs(directory)),
    }
    for name, lines in files.items():
        (output / name).write_text("\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
