// All declarations of the platform interface.
#pragma once

#include "mapi/headers/uKwConverterSessionH.hpp"
#include "mapi/headers/uKwEdkConstantsH.hpp"
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwEdkMdbH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIdefsH.hpp"
#include "mapi/headers/uKwMAPIFormH.hpp"
#include "mapi/headers/uKwMAPIFunctionsH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPISpiH.hpp"
#include "mapi/headers/uKwOlkAccountH.hpp"
#include "mapi/headers/uKwOutlookConstantsH.hpp"
#include "mapi/headers/uKwSimpleMAPIH.hpp"
