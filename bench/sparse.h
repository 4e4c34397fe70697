#ifndef SPARSE_H
#define SPARSE_H

#include "commands.h"

/// A byte read over coils of which the project has tags for some only.
struct SparseRead
{
    int bits;
    int percent; ///< of the coils that are configured: 0, 10 (every tenth), 50 (every other), 100

    CommunicatorCommand command() const { return {Byte, bits / 8, QStringLiteral("DO1")}; }

    /// Even at 100 % one coil in 2001 is left out, because no request can carry a longer run. A discrete
    /// input gives the station its table if no coil does.
    template<typename Visit>
    void forEach(Visit visit) const
    {
        visit(QStringLiteral("DI1"));
        const int step = percent == 0 ? bits : 100 / percent;
        for (int bit = 0; percent > 0 && bit < bits; bit += step) {
            if (bit % 2001 != 2000 || percent < 100)
                visit(QStringLiteral("DO%1").arg(bit + 1));
        }
    }
};

inline const QVector<SparseRead>& sparseReads()
{
    static const QVector<SparseRead> reads = {{2000, 0},  {2000, 10},  {2000, 50},  {2000, 100},
                                              {65536, 0}, {65536, 10}, {65536, 50}, {65536, 100}};
    return reads;
}

#endif
