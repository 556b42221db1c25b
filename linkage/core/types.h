#pragma once

/// The records of the library under the name by which clients include them.
#include "linkage/ledger/types.h"
