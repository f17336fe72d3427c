// Constants of tables: status, sorting, bookmarks, restrictions and searches.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// ulTableEvent of a TABLE_NOTIFICATION.
inline constexpr ULONG TABLE_CHANGED       = 1;
inline constexpr ULONG TABLE_ERROR         = 2;
inline constexpr ULONG TABLE_ROW_ADDED     = 3;
inline constexpr ULONG TABLE_ROW_DELETED   = 4;
inline constexpr ULONG TABLE_ROW_MODIFIED  = 5;
inline constexpr ULONG TABLE_SORT_DONE     = 6;
inline constexpr ULONG TABLE_RESTRICT_DONE = 7;
inline constexpr ULONG TABLE_SETCOL_DONE   = 8;
inline constexpr ULONG TABLE_RELOAD        = 9;

// State of a table (IMAPITable::GetStatus).
inline constexpr ULONG TBLSTAT_COMPLETE       = 0x00000000;
inline constexpr ULONG TBLSTAT_QCHANGED       = 0x00000007;
inline constexpr ULONG TBLSTAT_SORTING        = 0x00000009;
inline constexpr ULONG TBLSTAT_SORT_ERROR     = 0x0000000A;
inline constexpr ULONG TBLSTAT_SETTING_COLS   = 0x0000000B;
inline constexpr ULONG TBLSTAT_SETCOL_ERROR   = 0x0000000D;
inline constexpr ULONG TBLSTAT_RESTRICTING    = 0x0000000E;
inline constexpr ULONG TBLSTAT_RESTRICT_ERROR = 0x0000000F;

// How a table follows changes of its object (IMAPITable::GetStatus).
inline constexpr ULONG TBLTYPE_SNAPSHOT = 0;
inline constexpr ULONG TBLTYPE_KEYSET   = 1;
inline constexpr ULONG TBLTYPE_DYNAMIC  = 2;

// Flags of table methods.
inline constexpr ULONG TBL_ALL_COLUMNS = 0x00000001;
inline constexpr ULONG TBL_NOWAIT      = 0x00000001;
inline constexpr ULONG TBL_ASYNC       = 0x00000001;
inline constexpr ULONG TBL_BATCH       = 0x00000002;
inline constexpr ULONG DIR_BACKWARD    = 0x00000001;
inline constexpr ULONG TBL_NOADVANCE   = 0x00000001;

// Kinds of row in a categorised table (PR_ROW_TYPE).
inline constexpr ULONG TBL_LEAF_ROW           = 1;
inline constexpr ULONG TBL_EMPTY_CATEGORY     = 2;
inline constexpr ULONG TBL_EXPANDED_CATEGORY  = 3;
inline constexpr ULONG TBL_COLLAPSED_CATEGORY = 4;

// Order of one sort column.
inline constexpr ULONG TABLE_SORT_ASCEND    = 0x00000000;
inline constexpr ULONG TABLE_SORT_DESCEND   = 0x00000001;
inline constexpr ULONG TABLE_SORT_COMBINE   = 0x00000002;
inline constexpr ULONG TABLE_SORT_CATEG_MAX = 0x00000004;
inline constexpr ULONG TABLE_SORT_CATEG_MIN = 0x00000008;

// Predefined bookmarks. They are pointer-sized like every bookmark.
inline constexpr BOOKMARK BOOKMARK_BEGINNING = 0;
inline constexpr BOOKMARK BOOKMARK_CURRENT   = 1;
inline constexpr BOOKMARK BOOKMARK_END       = 2;

// How a content restriction compares: one value of the low word, any flags of the high word.
inline constexpr ULONG FL_FULLSTRING         = 0x00000000;
inline constexpr ULONG FL_SUBSTRING          = 0x00000001;
inline constexpr ULONG FL_PREFIX             = 0x00000002;
inline constexpr ULONG FL_IGNORECASE         = 0x00010000;
inline constexpr ULONG FL_IGNORENONSPACE     = 0x00020000;
inline constexpr ULONG FL_LOOSE              = 0x00040000;
inline constexpr ULONG FL_PHRASE_MATCH       = 0x00000020;
inline constexpr ULONG FL_PREFIX_ON_ANY_WORD = 0x00000010;

// Comparisons of property, size and compare-properties restrictions.
inline constexpr ULONG RELOP_MEMBER_OF_DL = 100;
inline constexpr ULONG RELOP_LT           = 0;
inline constexpr ULONG RELOP_LE           = 1;
inline constexpr ULONG RELOP_GT           = 2;
inline constexpr ULONG RELOP_GE           = 3;
inline constexpr ULONG RELOP_EQ           = 4;
inline constexpr ULONG RELOP_NE           = 5;
inline constexpr ULONG RELOP_RE           = 6;

// Comparisons of bit mask restrictions.
inline constexpr ULONG BMR_EQZ = 0;
inline constexpr ULONG BMR_NEZ = 1;

// Kinds of restriction (SRestriction::rt).
inline constexpr ULONG RES_AND            = 0;
inline constexpr ULONG RES_OR             = 1;
inline constexpr ULONG RES_NOT            = 2;
inline constexpr ULONG RES_CONTENT        = 3;
inline constexpr ULONG RES_PROPERTY       = 4;
inline constexpr ULONG RES_COMPAREPROPS   = 5;
inline constexpr ULONG RES_BITMASK        = 6;
inline constexpr ULONG RES_SIZE           = 7;
inline constexpr ULONG RES_EXIST          = 8;
inline constexpr ULONG RES_SUBRESTRICTION = 9;
inline constexpr ULONG RES_COMMENT        = 10;
inline constexpr ULONG RES_COUNT          = 11;
inline constexpr ULONG RES_ANNOTATION     = 12;

// State of a search (GetSearchCriteria).
inline constexpr ULONG SEARCH_RUNNING        = 0x00000001;
inline constexpr ULONG SEARCH_REBUILD        = 0x00000002;
inline constexpr ULONG SEARCH_RECURSIVE      = 0x00000004;
inline constexpr ULONG SEARCH_FOREGROUND     = 0x00000008;
inline constexpr ULONG CI_TOTALLY            = 0x01000000;
inline constexpr ULONG CI_WITH_TWIR_RESIDUAL = 0x02000000;
inline constexpr ULONG SEARCH_COMPLETE       = 0x00001000;
inline constexpr ULONG SEARCH_MAYBE_STATIC   = 0x00020000;
inline constexpr ULONG SEARCH_PARTIAL        = 0x00002000;
inline constexpr ULONG SEARCH_STATIC         = 0x00010000;
inline constexpr ULONG TWIR_MOSTLY           = 0x04000000;
inline constexpr ULONG TWIR_TOTALLY          = 0x08000000;

// Flags of SetSearchCriteria.
inline constexpr ULONG STOP_SEARCH                = 0x00000001;
inline constexpr ULONG RESTART_SEARCH             = 0x00000002;
inline constexpr ULONG RECURSIVE_SEARCH           = 0x00000004;
inline constexpr ULONG SHALLOW_SEARCH             = 0x00000008;
inline constexpr ULONG FOREGROUND_SEARCH          = 0x00000010;
inline constexpr ULONG BACKGROUND_SEARCH          = 0x00000020;
inline constexpr ULONG CONTENT_INDEXED_SEARCH     = 0x00010000;
inline constexpr ULONG NON_CONTENT_INDEXED_SEARCH = 0x00020000;
inline constexpr ULONG STATIC_SEARCH              = 0x00040000;
// clang-format on

} // namespace mapi
