#include "commands/write.h"

#include "signals/item_report.h"

namespace {

struct Write
{
    Item item;
    CommandData data;
};

/// What is to be written. Empty, with a sentence in error, when it does not fit.
std::optional<Write> prepare(const WriteOptions& options, DriverInterface& driver, QString& error)
{
    ItemContext context = contextOf(driver, options.options);
    if (!context.options.count)
        context.options.count = options.values.size();
    const QVector<Item> items = parseItems(options.item, context, error);
    const auto data = error.isEmpty() ? encodeValues(items.first(), options.values, error) : std::nullopt;
    if (!data)
        return std::nullopt;
    Write write{items.first(), *data};
    if (write.item.count != data->count && write.item.count != options.values.size()) {
        error = QStringLiteral("%1 values are given, not %2").arg(data->count).arg(write.item.count);
        return std::nullopt;
    }
    write.item.count = data->count;
    write.item.notation = data->notation;
    return write;
}

} // namespace

int runWrite(const WriteOptions& options, Console& console)
{
    QString error;
    const auto session = Session::start(options.link, console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);
    const auto write = prepare(options, session->driver(), error);
    if (!write)
        return reportError(console, WrongCommandLine, error);
    const CommandOutcome outcome =
        session->write(write->item.command(), write->data.bytes, write->item.address.station);
    ItemReport report(options.link.format, console);
    report.add(write->item, write->data.bytes, outcome);
    return report.finish();
}
