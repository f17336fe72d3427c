// Utilities for applications: the detection of the installed Outlook (KwGetOutlookInfo, TKwOutlookInfo).
#pragma once

#include "mapi/core/OutlookInfo.hpp"
