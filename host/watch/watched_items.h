#ifndef WATCH_WATCHED_ITEMS_H
#define WATCH_WATCHED_ITEMS_H

#include "signals/item.h"

/// Most elements that are watched at once.
constexpr int mostWatchedElements = 10000;

/// Each value in decimal, whatever its notation in print, for use by programs.
QStringList decimalTexts(const Item& item, const QByteArray& data);

#endif
