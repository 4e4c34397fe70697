#ifndef SIGNALS_VERIFIED_WRITE_H
#define SIGNALS_VERIFIED_WRITE_H

#include "session/session.h"
#include "signals/item.h"

/// Writes the data of the item, reads it back and compares. What cannot be read back, or what the device has
/// not kept, is an error in the outcome.
CommandOutcome writeAndVerify(Session& session, const Item& item, const QByteArray& data);

#endif
