#ifndef MODBUS_BIT_SET_H
#define MODBUS_BIT_SET_H

#include <QtGlobal>
#include <vector>

typedef std::vector<unsigned short> UShortVector;

/// The coils (DO) and discrete inputs (DI) of one station that a project uses, as 0-based Modbus addresses.
/// Push them in any order, sort, then look them up. A plain value: copies are independent.
class Q_DECL_EXPORT ModbusBitSet
{
public:
    /// Index of value in a sorted set, at index l or above; -1 if it is not there, or l is not below the
    /// set's size. l is 0 or more. A walk over rising addresses passes the index after its last hit.
    static int setContains(UShortVector& set, int l, ushort value);

    /// Sorts ascending and drops duplicates.
    static void setSort(UShortVector& set);

    int DOSetContains(ushort value);
    int DOSetContains(int l, ushort value);
    int DISetContains(ushort value);
    int DISetContains(int l, ushort value);

    /// Appends the address. The set is not sorted afterwards.
    void DOSetPush(ushort value);
    void DISetPush(ushort value);

    void DOSetSort();
    void DISetSort();

    UShortVector doSet; ///< coils
    UShortVector diSet; ///< discrete inputs
};

#endif
