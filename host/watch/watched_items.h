#ifndef WATCH_WATCHED_ITEMS_H
#define WATCH_WATCHED_ITEMS_H

#include "session/session.h"
#include "signals/item.h"

/// Most elements that are watched at once.
constexpr int mostWatchedElements = 10000;

/// Each value in decimal, whatever its notation in print, for use by programs.
QStringList decimalTexts(const Item& item, const QByteArray& data);

/// What the tags of a link give to watch.
struct WatchedTags
{
    QVector<Item> items;
    int ofOthers = 0; ///< tags of other stations than the one that was asked for
    int unknown = 0;  ///< tags that are not addresses of the driver, or signals that contradict themselves
    QString problem;  ///< of the first unknown one
};

/// The signals of the link in the project. Without any, error is a sentence that says why.
WatchedTags itemsOfTags(const LinkOptions& link, Session& session, QString& error);

/// The items of these texts, as parseItems takes them. If one is wrong, or asks for text where numbers are
/// shown, the result is empty, and error says what would be right.
QVector<Item> itemsOfTexts(const QStringList& texts, const LinkOptions& link, Session& session,
                           QString& error);

/// The same values as items with one value each, so that one that cannot be read does not take the others of
/// its item with it. Items whose values have other addresses or headings then, or that end behind their area,
/// stay as they are.
QVector<Item> eachValue(const QVector<Item>& items);

#endif
