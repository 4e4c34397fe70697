#ifndef COMMANDS_INFO_H
#define COMMANDS_INFO_H

#include "session/link_options.h"

/// Prints what the driver says about itself.
int runInfo(const LinkOptions& options, Console& console);

#endif
