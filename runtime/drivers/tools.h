#ifndef TOOLS_H
#define TOOLS_H

// The whole toolkit; each header can be included on its own.

#include "tools/address.h"
#include "tools/bits.h"
#include "tools/byte_order.h"
#include "tools/checksum.h"
#include "tools/command_data.h"
#include "tools/pack.h"
#include "tools/project_database.h"
#include "tools/text.h"
#include "tools/timing.h"

#endif
