// Everything that sessions, stores, folders, messages, tables and the address book need: structures, constants,
// interfaces.
#pragma once

#include "mapi/headers/uKwMAPIAddressConstantsH.hpp"
#include "mapi/headers/uKwMAPIAuxH.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/headers/uKwMAPIForwardH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/headers/uKwMAPIStructuresH.hpp"
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "mapi/headers/uKwMAPITypesH.hpp"
#include "mapi/headers/uKwMAPIUtilH.hpp"
