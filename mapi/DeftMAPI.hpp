// Everything that an application needs: include this file, link the library, create a session.
//
//     TKwRef<IKwMAPISession> session = deftmapi::TSession::Create();
//     session->Logon();
#pragma once

#include "mapi/admin/uKwMAPIAdmin.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/message/uKwMAPIAttachment.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
#include "mapi/session/uKwMAPIMsgStoreEvents.hpp"
#include "mapi/session/uKwMAPIMsgStoreParser.hpp"
#include "mapi/session/uKwMAPIOOF.hpp"
#include "mapi/table/uKwMAPIMemoryTable.hpp"
#include "mapi/table/uKwMAPITable.hpp"
#include "mapi/table/uKwMAPITableEvents.hpp"
#include "mapi/table/uKwSimpleMAPITables.hpp"
#include "mapi/uKwMAPIInterfaces.hpp"
