#include "watch/watched_items.h"

#include "signals/values.h"

#include <algorithm>
#include <tuple>

namespace {

/// By area and number; what differs in more than that is not taken with its neighbours.
auto placeOf(const Address& address)
{
    return std::make_tuple(address.station, address.area, address.number, address.bit, address.highWordFirst,
                           address.isForeign() ? address.text : QString());
}

bool continues(const Address& next, const Address& first, int count)
{
    const bool isPlain = !next.bit && !first.bit && !next.highWordFirst && !first.highWordFirst;
    return isPlain && !next.isForeign() && next.station == first.station && next.area == first.area &&
           next.number == first.number + count;
}

Item itemAt(const Address& address)
{
    Item item;
    item.address = address;
    item.signal.address = address.fullText();
    item.signal.type = SignalType{address.isBit() ? SignalType::DriverBit : SignalType::DriverWord, 0};
    return item;
}

} // namespace

QStringList decimalTexts(const Item& item, const QByteArray& data)
{
    Item decimal = item;
    if (item.notation != Notation::Signed && item.notation != Notation::Float)
        decimal.notation = std::nullopt;
    return valueTexts(decimal, data);
}

QVector<Item> itemsOfTags(QVector<Address> addresses, const BlockSizes& blocks)
{
    std::sort(addresses.begin(), addresses.end(),
              [](const Address& left, const Address& right) { return placeOf(left) < placeOf(right); });
    const auto end =
        std::unique(addresses.begin(), addresses.end(), [](const Address& left, const Address& right) {
            return placeOf(left) == placeOf(right);
        });
    addresses.erase(end, addresses.end());

    QVector<Item> items;
    for (const Address& address : addresses) {
        const int limit = address.isBit() ? blocks.bits : blocks.registers;
        if (!items.isEmpty() && items.last().count < limit &&
            continues(address, items.last().address, items.last().count))
            ++items.last().count;
        else
            items += itemAt(address);
    }
    return items;
}
