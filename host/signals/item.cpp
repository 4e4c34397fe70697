#include "signals/item.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// Bits that the Modbus standard lets one read request ask for; a driver may allow itself more.
constexpr int mostBitsOfAnyDevice = 2000;

/// FIRST..LAST, or one address, which is then both.
struct Range
{
    Address first;
    Address last;
    bool isOne = true;
};

std::optional<Range> parseRange(const QString& text, Grammar grammar, QString& problem)
{
    const int dots = grammar == Grammar::Foreign ? -1 : text.indexOf(QLatin1String(".."));
    const auto first = parseAddress(dots < 0 ? text : text.left(dots), grammar, problem);
    if (!first || dots < 0)
        return first ? std::optional(Range{*first, *first, true}) : std::nullopt;
    const auto last = parseAddress(text.mid(dots + 2), grammar, problem);
    if (!last)
        return std::nullopt;
    const bool isSameKind =
        last->area == first->area && last->bit.has_value() == first->bit.has_value() &&
        last->highWordFirst == first->highWordFirst &&
        last->station.value_or(first->station.value_or(-1)) == first->station.value_or(-1);
    if (isSameKind && last->position() >= first->position())
        return Range{*first, *last, false};
    problem =
        quoted(text) + QStringLiteral(" is no range: it goes up in one area of one station, as HR1..HR40");
    return std::nullopt;
}

std::optional<int> parseCount(const QString& text)
{
    bool isNumber = false;
    const int count = text.toInt(&isNumber);
    return isNumber && count >= 1 && count <= mostElements ? std::optional(count) : std::nullopt;
}

/// Puts what a part says into target, unless something stands there. Returns whether it did.
template<class Value>
bool put(std::optional<Value>& target, const std::optional<Value>& value)
{
    if (target || !value)
        return false;
    target = value;
    return true;
}

/// Takes as many of the parts as are options, each kind once. Returns the first part that is none.
QString takeOptions(const QStringList& parts, ItemOptions& options)
{
    for (const QString& part : parts) {
        if (!put(options.type, parseSignalType(part)) && !put(options.order, parseByteOrder(part)) &&
            !put(options.notation, notationFromName(part)) &&
            !(options.type && put(options.count, parseCount(part))))
            return part.isNull() ? QStringLiteral("") : part;
    }
    return QString();
}

/// How many of the parts are the address: with a foreign grammar all in front of what can only be options.
int partsOfAddress(const QStringList& parts, Grammar grammar)
{
    int count = 1;
    for (ItemOptions options; grammar == Grammar::Foreign && !takeOptions(parts.mid(count), options).isNull();
         options = {})
        ++count;
    return count;
}

/// What the text does not say itself.
ItemOptions completed(ItemOptions own, const ItemOptions& others)
{
    own.type = own.type ? own.type : others.type;
    own.order = own.order ? own.order : others.order;
    own.count = own.count ? own.count : others.count;
    own.notation = own.notation ? own.notation : others.notation;
    return own;
}

bool isByte(CommandDataType type)
{
    return type == Byte || type == Block;
}

/// A phrase that says why there is no such type at the address.
QString typeProblem(const Address& address, SignalType type)
{
    const TypeLayout layout = layoutOf(type);
    if (!address.isBit() || layout.isBit() || (address.isInBitArea() && isByte(layout.element)))
        return QString();
    return QStringLiteral("it is a bit, and no %1%2")
        .arg(signalTypeName(type),
             address.isInBitArea() ? QString() : QStringLiteral("; without the point it is a register"));
}

QString orderProblem(const Address& address, SignalType type, std::optional<ByteOrder> order)
{
    if (!order)
        return QString();
    if (address.highWordFirst && *order != ByteOrder::ABCD)
        return QStringLiteral("the mark SW says ABCD, not %1").arg(byteOrderName(*order));
    const bool isDriversOwn = type.kind == SignalType::Bool || type.kind > SignalType::String;
    const bool swapsBytes = *order == ByteOrder::BADC || *order == ByteOrder::DCBA;
    const bool isMarked = *order == ByteOrder::ABCD;
    const bool goesByMark = layoutOf(type).width > bitsOfRegister && !address.isForeign();
    if (isDriversOwn && (swapsBytes || (goesByMark && isMarked != address.highWordFirst)))
        return QStringLiteral(
                   "%1 is the driver's own type and has no order %2; int, uint and float types have")
            .arg(signalTypeName(type), byteOrderName(*order));
    return QString();
}

QString scaleProblem(const Signal& signal)
{
    const TypeLayout layout = layoutOf(*signal.type);
    const bool isScaled = signal.scale != 1 || signal.offset != 0;
    if (isScaled && (layout.isBit() || layout.notation == Notation::Text))
        return QStringLiteral("%1 has no scale and no offset").arg(signalTypeName(*signal.type));
    if (!std::isfinite(signal.scale) || signal.scale == 0 || !std::isfinite(signal.offset))
        return QStringLiteral("the scale must be a number other than 0, the offset a number");
    if (signal.decimals && (*signal.decimals < 0 || *signal.decimals > mostDecimals))
        return QStringLiteral("the decimals must be 0 to %1").arg(mostDecimals);
    return QString();
}

/// Empty when all parts of the item fit each other.
QString problemOf(const Item& item)
{
    for (const QString& problem :
         {typeProblem(item.address, item.type()), orderProblem(item.address, item.type(), item.signal.order),
          scaleProblem(item.signal),
          item.notation ? notationProblem(item.type(), *item.notation) : QString()}) {
        if (!problem.isEmpty())
            return quoted(item.signal.address) + QLatin1String(": ") + problem;
    }
    return QString();
}

Item itemAt(const Address& address, const ItemOptions& options)
{
    Item item;
    item.address = address;
    item.signal.address = address.fullText();
    item.signal.type =
        options.type.value_or(SignalType{address.isBit() ? SignalType::DriverBit : SignalType::DriverWord});
    item.signal.order = options.order;
    item.count = options.count.value_or(1);
    item.notation = options.notation;
    return item;
}

/// The range as items of at most a block each.
QVector<Item> dividedRange(const Range& range, const ItemContext& context, const ItemOptions& options,
                           QString& error)
{
    Item item = itemAt(range.first, options);
    const int width = layoutOf(item.type()).width;
    const int end = range.last.position() + (range.last.isBit() ? 1 : bitsOfRegister);
    const bool inBits = range.first.isInBitArea();
    const int block = inBits ? context.blocks.bits : context.blocks.registers * bitsOfRegister;
    const QString text = quoted(range.first.fullText() + QLatin1String("..") + range.last.text);
    error = problemOf(item);
    if (error.isEmpty() && options.count)
        error = QStringLiteral(
                    "%1: name its first element only; the count, or the number of values, says how many")
                    .arg(text);
    if (error.isEmpty() && (end - range.first.position()) % width != 0)
        error =
            QStringLiteral("%1 does not hold a whole number of %2").arg(text, signalTypeName(item.type()));
    QVector<Item> items;
    for (int next = range.first.position(); error.isEmpty() && next < end; next += item.count * width) {
        const int room = std::max((block - (inBits ? 0 : next % bitsOfRegister)) / width, 1);
        item.address = range.first.at(next, layoutOf(item.type()).isBit());
        item.signal.address = item.address.fullText();
        item.count = std::min(room, (end - next) / width);
        items += item;
    }
    return items;
}

/// NAME or NAME:NOTATION. If there is no such name, the result is empty and problem says so; if there is, but
/// it cannot be an item, error says why.
QVector<Item> parseName(const QString& text, ItemContext context, QString& problem, QString& error)
{
    QVector<Signal> found = context.findSignals(text, problem);
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    const auto notation = notationFromName(text.mid(colon + 1));
    if (found.isEmpty() && colon > 0 && notation) {
        context.options.notation = notation;
        found = context.findSignals(text.left(colon), problem);
    }
    const QString front = text.section(QLatin1Char(':'), 0, 0);
    QString ignored;
    if (found.isEmpty() && context.grammar != Grammar::Foreign && front != text &&
        !context.findSignals(front, ignored).isEmpty()) {
        error = QStringLiteral(
                    "%1 is a signal, whose type is that of its list; its name takes a notation (%2), not %3")
                    .arg(quoted(front), notationNames().join(QStringLiteral(", ")),
                         quoted(text.mid(front.size() + 1)));
        return {};
    }
    QVector<Item> items;
    for (const Signal& signal : found) {
        const auto item = itemOfSignal(signal, context, error);
        if (!item)
            return {};
        items += *item;
    }
    return items;
}

QVector<Item> parseAddressItems(const Range& range, const QStringList& parts, const ItemContext& context,
                                QString& error)
{
    ItemOptions options;
    const QString surplus = takeOptions(parts, options);
    if (!surplus.isNull()) {
        const QString comma = QStringLiteral(", ");
        error =
            QStringLiteral("%1 behind %2 is no type (%3), count (1 to %4, behind a type), byte order (%5) "
                           "or notation (%6)")
                .arg(quoted(surplus), quoted(range.first.text), signalTypeNames().join(comma))
                .arg(mostElements)
                .arg(byteOrderNames().join(comma), notationNames().join(comma));
        return {};
    }
    options = completed(options, context.options);
    if (!range.isOne)
        return dividedRange(range, context, options, error);
    const Item item = itemAt(range.first, options);
    error = problemOf(item);
    return error.isEmpty() ? QVector<Item>{item} : QVector<Item>();
}

} // namespace

ByteOrder Item::order() const
{
    return signal.order.value_or(address.highWordFirst ? ByteOrder::ABCD : ByteOrder::CDAB);
}

CommunicatorCommand Item::command() const
{
    const TypeLayout layout = layoutOf(type());
    const qint64 elements = qint64(count) * layout.elements;
    return CommunicatorCommand(layout.element,
                               static_cast<int>(std::min<qint64>(elements, std::numeric_limits<int>::max())),
                               address.text);
}

QStringList Item::elementNames() const
{
    if (!signal.name.isEmpty() && count == 1)
        return {signal.name};
    const TypeLayout layout = layoutOf(type());
    if (isByte(layout.element) && notation == Notation::Text)
        return {signal.address};
    const bool isHalf = isByte(layout.element) && !address.isInBitArea();
    QStringList names;
    for (int i = 0; i < count; ++i) {
        if (address.isForeign()) {
            names += i == 0 ? address.text : QStringLiteral("%1 +%2").arg(address.text).arg(i);
            continue;
        }
        const int position = address.position() + i * layout.width;
        names += address.at(position, layout.isBit()).fullText();
        if (isHalf)
            names.last() += position % bitsOfRegister == 0 ? QLatin1String(" low") : QLatin1String(" high");
    }
    return names;
}

std::optional<Item> Item::element(int index) const
{
    Item item = *this;
    item.count = 1;
    if (index == 0)
        return item;
    if (address.isForeign())
        return std::nullopt;
    const TypeLayout layout = layoutOf(type());
    const int position = address.position() + index * layout.width;
    if (!address.isInBitArea() && !layout.isBit() && position % bitsOfRegister != 0)
        return std::nullopt;
    item.address = address.at(position, layout.isBit());
    item.signal.address = item.address.fullText();
    return item;
}

ItemContext contextOf(DriverInterface& driver, const ItemOptions& options, const FindSignals& findSignals)
{
    return {grammarOfDriver(driver.name()),
            {driver.getBlockAccessSize(), std::min(driver.getBitBlockAccessSize(), mostBitsOfAnyDevice)},
            options,
            findSignals};
}

QVector<Item> parseItems(const QString& text, const ItemContext& context, QString& error)
{
    const QStringList parts = text.split(QLatin1Char(':'));
    const int addressParts = partsOfAddress(parts, context.grammar);
    const QString address = QStringList(parts.mid(0, addressParts)).join(QLatin1Char(':'));
    const bool isForeign = context.grammar == Grammar::Foreign; // where every text is an address
    QString problem;
    auto range = parseRange(address, context.grammar, problem);
    if (context.findSignals && (isForeign || !range)) {
        QString nameProblem;
        const QVector<Item> items = parseName(text, context, nameProblem, error);
        if (!items.isEmpty() || !error.isEmpty())
            return items;
        problem += QLatin1String("; ") + nameProblem;
    }
    if (range)
        return parseAddressItems(*range, parts.mid(addressParts), context, error);
    error = problem;
    return {};
}

std::optional<Item> itemOfSignal(const Signal& signal, const ItemContext& context, QString& error)
{
    const auto address = parseTag(signal.address, context.grammar, error);
    if (!address)
        return std::nullopt;
    if (context.options.count.value_or(1) != 1) {
        error = quoted(signal.name) + QStringLiteral(" is a signal, which has one value");
        return std::nullopt;
    }
    const ItemOptions own{signal.type, signal.order, std::nullopt, std::nullopt};
    Item item = itemAt(*address, completed(own, context.options));
    const auto type = item.signal.type;
    const auto order = item.signal.order;
    item.signal = signal;
    item.signal.type = type;
    item.signal.order = order;
    error = problemOf(item);
    return error.isEmpty() ? std::optional(item) : std::nullopt;
}

QString signalProblem(const Signal& signal, Grammar grammar)
{
    QString problem;
    QString ignored;
    if (grammar == Grammar::ModbusTcp &&
        parseRange(signal.name.section(QLatin1Char(':'), 0, 0), grammar, ignored))
        return quoted(signal.name) + QStringLiteral(" is an address, so it cannot be a name");
    itemOfSignal(signal, {grammar, {}, {}, {}}, problem);
    return problem;
}
