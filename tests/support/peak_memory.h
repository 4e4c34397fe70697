#ifndef PEAK_MEMORY_H
#define PEAK_MEMORY_H

#include <QByteArray>
#include <QFile>

/// How much the peak memory of the process has grown since this object was made.
class PeakMemory
{
public:
    PeakMemory() : m_before(0)
    {
        QFile reset(QLatin1String("/proc/self/clear_refs"));
        if (reset.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            reset.write("5");
        m_before = peak();
    }

    int grownKiB() const { return peak() - m_before; }

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

    int m_before;
};

#endif
