#include "watch/watched_items.h"

#include "project/project_signals.h"
#include "signals/values.h"
#include "tools/project_database.h"

QStringList decimalTexts(const Item& item, const QByteArray& data)
{
    Item decimal = item;
    if (item.notation != Notation::Signed && item.notation != Notation::Float)
        decimal.notation = std::nullopt;
    return valueTexts(decimal, data);
}

WatchedTags itemsOfTags(const LinkOptions& link, Session& session, QString& error)
{
    const ItemContext context = contextOf(session.driver(), {});
    const ProjectSignals project = readProjectSignals(link, session.link().stationId());
    WatchedTags tags;
    for (const Signal& signal : project.all) {
        QString problem;
        const auto item = itemOfSignal(signal, context, problem);
        if (!item) {
            ++tags.unknown;
            tags.problem = tags.problem.isEmpty() ? problem : tags.problem;
        } else if (link.station && item->address.station.value_or(*link.station) != *link.station) {
            ++tags.ofOthers;
        } else {
            tags.items += *item;
        }
    }
    if (!project.problem.isEmpty())
        error = QStringLiteral("--tags: ") + project.problem;
    else if (tags.items.isEmpty())
        error = QStringLiteral("--tags: link %1 has no tags that can be read in %2")
                    .arg(link.linkId)
                    .arg(GetDatabaseName());
    return tags;
}

QVector<Item> itemsOfTexts(const QStringList& texts, const LinkOptions& link, Session& session,
                           QString& error)
{
    const ItemContext context =
        contextOf(session.driver(), {}, findProjectSignals(link, session.link().stationId()));
    QVector<Item> items;
    for (const QString& text : texts) {
        items += parseItems(text, context, error);
        const bool isByteText = error.isEmpty() && items.last().notation == Notation::Text &&
                                items.last().type().kind != SignalType::String;
        if (isByteText)
            error = quoted(text) + QStringLiteral(": bytes are watched as numbers; text needs string(N)");
        if (!error.isEmpty())
            return {};
    }
    return items;
}

QVector<Item> eachValue(const QVector<Item>& items)
{
    QVector<Item> values;
    for (const Item& item : items) {
        const int width = layoutOf(item.type()).width;
        const int endOfArea = largestNumber * (item.address.isInBitArea() ? 1 : bitsOfRegister);
        const bool isPlain = !item.address.isForeign() && width != 8 &&
                             item.address.isBit() == (width == 1) &&
                             item.address.position() + item.count * width <= endOfArea;
        if (!isPlain)
            values += item;
        for (int i = 0; isPlain && i < item.count; ++i)
            values += *item.element(i);
    }
    return values;
}
