#ifndef SIGNALS_ITEM_H
#define SIGNALS_ITEM_H

#include "driver_interface.h"
#include "signals/address.h"
#include "signals/signal.h"

#include <QVector>

#include <functional>

/// Values of one type that one command reads or writes.
struct Item
{
    Signal signal;                    ///< always with a type; its address is the one asked for
    Address address;                  ///< of the first value
    int count = 1;                    ///< values, 0 or more
    std::optional<Notation> notation; ///< without one: the type's, with scale and decimals

    SignalType type() const { return *signal.type; }

    /// The signal's byte order, or else that of the address.
    ByteOrder order() const;

    /// The command for the driver.
    CommunicatorCommand command() const;

    /// The addresses of the values: HR100, HR102, ... for dword and float32, HR100.3, HR100.4, ... for bits
    /// inside registers, "HR100 low" and "HR100 high" for the bytes of a register, DO8, DO16, ... for bytes
    /// of bits, and ADDRESS, "ADDRESS +1", ... with a foreign address. A signal has its name instead, and
    /// bytes that form one text have one address.
    QStringList elementNames() const;

    /// The value with this index, 0 to count-1, as an item of its own. Nothing if it has no address: with a
    /// foreign one only the first value has, of bytes in registers only the low ones.
    std::optional<Item> element(int index) const;
};

/// The largest commands that driver and devices take.
struct BlockSizes
{
    int registers = 1;
    int bits = 1;
};

/// What may follow an address.
struct ItemOptions
{
    std::optional<SignalType> type;
    std::optional<ByteOrder> order;
    std::optional<int> count;
    std::optional<Notation> notation;
};

/// Finds signals by a name, or by a pattern with the wildcards * and ?. If it finds none, problem says why,
/// as part of a sentence.
using FindSignals = std::function<QVector<Signal>(const QString& name, QString& problem)>;

/// How a text becomes items.
struct ItemContext
{
    Grammar grammar = Grammar::ModbusTcp;
    BlockSizes blocks;       ///< for dividing ranges
    ItemOptions options;     ///< where the text says nothing itself
    FindSignals findSignals; ///< may be empty: there are no names
};

/// The context for a loaded driver.
ItemContext contextOf(DriverInterface& driver, const ItemOptions& options,
                      const FindSignals& findSignals = {});

constexpr int mostElements = 65536; ///< largest COUNT

/// Parses ADDRESS[:TYPE[:COUNT]][:ORDER][:NOTATION], the same with FIRST..LAST for ADDRESS, or
/// NAME[:NOTATION]: HR100, HR4:float32:BADC, HR1:word:3:hex, DO1..DO16, Oven 3 temp, Oven*:hex. The options
/// may have any order, but COUNT follows a type.
///
/// A range gives one item per command that it takes, a name with wildcards one per signal, everything else
/// gives one item. If the text is wrong or its parts contradict each other, the result is empty, and error
/// says what would be right.
QVector<Item> parseItems(const QString& text, const ItemContext& context, QString& error);

/// A signal as an item. The options of the context fill in only what the signal leaves open.
std::optional<Item> itemOfSignal(const Signal& signal, const ItemContext& context, QString& error);

/// What is wrong with a signal of a tag list, including its name; empty if nothing is.
QString signalProblem(const Signal& signal, Grammar grammar);

#endif
