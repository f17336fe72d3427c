// Every public enumeration and interface of the library, and nothing else: this file is what breaks would-be include
// circles.
//
// Interfaces are inherited virtually and implemented by the TKw… classes; an application holds TKwRef<IKw…>. An
// operation with one result returns it; several results are reference out-parameters in the order given. Failures are
// exceptions (mapi/core/uKwMAPIExceptions.hpp). A returned TKwRef carries a reference of its own; a returned plain
// pointer adds none.
#pragma once

#include "mapi/interfaces/Admin.hpp"
#include "mapi/interfaces/Messages.hpp"
#include "mapi/interfaces/Properties.hpp"
#include "mapi/interfaces/Session.hpp"
#include "mapi/interfaces/Stores.hpp"
#include "mapi/interfaces/Tables.hpp"
#include "mapi/interfaces/Types.hpp"
