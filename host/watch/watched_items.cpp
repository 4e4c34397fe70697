#include "watch/watched_items.h"

#include "signals/values.h"

QStringList decimalTexts(const Item& item, const QByteArray& data)
{
    Item decimal = item;
    if (item.notation != Notation::Signed && item.notation != Notation::Float)
        decimal.notation = std::nullopt;
    return valueTexts(decimal, data);
}
