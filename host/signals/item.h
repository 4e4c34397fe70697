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
};

/// The largest commands of a driver.
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

/// How a text becomes items.
struct ItemContext
{
    Grammar grammar = Grammar::ModbusTcp;
    BlockSizes blocks;   ///< for dividing ranges
    ItemOptions options; ///< where the text says nothing itself

    /// Finds a signal by its name. May be empty if there are no names.
    std::function<std::optional<Signal>(const QString& name)> findSignal;
};

/// The context for a loaded driver, without names.
ItemContext contextOf(DriverInterface& driver, const ItemOptions& options);

constexpr int mostElements = 65536; ///< largest COUNT

/// Parses ADDRESS[:TYPE[:COUNT]][:ORDER][:NOTATION], the same with FIRST..LAST for ADDRESS, or
/// NAME[:NOTATION]: HR100, HR4:float32:BADC, HR1:word:3:hex, DO1..DO16, Oven 3 temp. The options may have any
/// order, but COUNT follows a type.
///
/// A range gives one item per command that it takes, everything else gives one item. If the text is wrong or
/// its parts contradict each other, the result is empty, and error says what would be right.
QVector<Item> parseItems(const QString& text, const ItemContext& context, QString& error);

/// A signal as an item. The options of the context fill in only what the signal leaves open.
std::optional<Item> itemOfSignal(const Signal& signal, const ItemContext& context, QString& error);

/// What is wrong with a signal of a tag list, including its name; empty if nothing is.
QString signalProblem(const Signal& signal, Grammar grammar);

#endif
