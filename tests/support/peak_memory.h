#ifndef PEAK_MEMORY_H
#define PEAK_MEMORY_H

#include <QByteArray>
#include <QFile>

/// How far the memory of the process has risen at its highest since this object was made.
class PeakMemory
{
public:
    PeakMemory() : before(0)
    {
        QFile reset(QLatin1String("/proc/self/clear_refs"));
        if (reset.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            reset.write("5");
        before = peak();
    }

    int grownKiB() const { return peak() - before; }

private:
    static int peak()
    {
        QFile status(QLatin1String("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray text = status.readAll();
        const QByteArray line = text.mid(text.indexOf("VmHWM:") + 6, 20).simplified();
        return line.left(line.indexOf(' ')).toInt();
    }

    int before;
};

#endif
