#ifndef SIGNALS_ELEMENT_ADDRESS_H
#define SIGNALS_ELEMENT_ADDRESS_H

#include "communicator_command.h"

#include <QString>

/// The element type of an HMI address's area: Bit for DI, DO and FN5DO, Word for every other.
CommandDataType typeOfArea(const QString& address);

/// The HMI addresses of the elements of one command: HR100, HR101, ... for words, HR100, HR102, ... for
/// double words, HR100.3, HR100.4, ... for bits inside registers, "HR100 low" and "HR100 high" for the bytes
/// of a register, DO8, DO16, ... for bytes of bits. For an address without a number: the address itself,
/// "ADDRESS +1", and so on.
class ElementAddresses
{
public:
    ElementAddresses(const QString& address, CommandDataType type);

    /// index counts from 0.
    QString at(int index) const;

private:
    QString withNumber(quint64 offset) const;

    QString m_address;
    CommandDataType m_type;
    bool m_bitArea;
    bool m_hasNumber;
    QString m_prefix;
    quint64 m_number = 0;
    quint64 m_bit = 0;
    QString m_suffix; ///< what follows the number, such as the word-order mark
};

#endif
