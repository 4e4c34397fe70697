// Bytes through the text helpers and the transmit-frame builder, with section lists that lie.

#include "check.h"
#include "harness.h"
#include "tools.h"
#include "tx_package.h"

#include <cctype>
#include <climits>
#include <memory>

namespace {

/// What a hexadecimal text says, read by QByteArray where it agrees about what a number is.
unsigned int expectedNumber(QByteArray text)
{
    text = text.constData();
    if (text.startsWith("0x") || text.startsWith("0X"))
        text.remove(0, 2);
    for (const char c : text)
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return 0;
    return text.right(8).toUInt(nullptr, 16);
}

void checkText(const QByteArray& bytes)
{
    // In memory of its own size, without the zero byte that a byte array has behind its end.
    const std::unique_ptr<char[]> exact(new char[static_cast<std::size_t>(bytes.size())]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    CHECK(HexToUInt(exact.get(), bytes.size()) == expectedNumber(bytes));
    CHECK(HexToUInt(exact.get(), 0) == 0 && HexToUInt(exact.get(), -1) == 0);

    const QString dump = dumpByteArray(QByteArray::fromRawData(exact.get(), bytes.size()));
    CHECK(dump.startsWith(QLatin1String("(")) && dump.count(QLatin1String("0X")) >= bytes.size());
    const QString text = QString::fromLatin1(bytes.constData());
    CHECK(dump.endsWith(QLatin1String(") : ") + text));
}

void append(TxPackage& package, Input& input)
{
    switch (input.byte() % 10) {
    case 0:
        package.appendSection(input.bytes(input.byte()));
        break;
    case 1:
        package.appendString(QString::fromUtf8(input.bytes(input.byte())));
        break;
    case 2:
        package.appendByte(static_cast<unsigned char>(input.byte()));
        break;
    case 3:
        package.appendByte2Ascii(static_cast<unsigned char>(input.byte()));
        break;
    case 4:
        package.appendWord(static_cast<unsigned short>(input.number16()));
        break;
    case 5:
        package.appendDWord(static_cast<unsigned int>(input.number32()));
        break;
    case 6:
        package.appendLRCByte();
        break;
    case 7:
        package.appendLRCAscii();
        break;
    case 8:
        package.appendFCSAscii(input.number32());
        break;
    default:
        package.setData(input.bytes(input.byte()));
    }
}

/// Sizes up to 127 and, more rarely, any others; never a sum that would really take that much memory.
QList<int> takeSizes(Input& input)
{
    QList<int> sizes;
    qint64 sum = 0;
    for (int left = input.byte() % 16; left > 0; --left) {
        const int choice = input.byte();
        sizes.append(choice < 128 ? choice : choice < 192 ? 127 - choice : input.number32());
        sum += sizes.last();
    }
    if (sum > 100000 && sum <= INT_MAX)
        sizes.append(static_cast<int>(-sum));
    return sizes;
}

/// entries: what the sizes of the package's sections are.
void checkSections(const TxPackage& package, const QList<int>& entries)
{
    const QByteArray content = package.byteArrayData();
    CHECK(package.totalSize() == content.size() && package.numberOfSections() == entries.size());
    qint64 start = 0;
    for (int i = 0; i < entries.size(); ++i) {
        const qint64 size = package.sectionSize(i);
        const qint64 begin = qBound<qint64>(0, start, content.size());
        const qint64 end = qBound<qint64>(begin, start + size, content.size());
        CHECK(entries.at(i) < 0 || size == entries.at(i));
        CHECK(package.dataAt(i) == content.mid(static_cast<int>(begin), static_cast<int>(end - begin)));
        CHECK(package.sectionStartIndex(i) == qBound<qint64>(INT_MIN, start, INT_MAX));
        start += entries.at(i);
    }
    for (const int number : {-1, INT_MIN, INT_MAX, package.numberOfSections()}) {
        CHECK(package.sectionStartIndex(number) == -1 && package.sectionSize(number) == 0);
        CHECK(package.dataAt(number).isEmpty() && !package.validSectionNumber(number));
    }
}

void checkPackage(Input& input)
{
    TxPackage package;
    QList<int> entries;
    for (int steps = input.byte() % 8; steps > 0; --steps) {
        const int before = package.numberOfSections();
        const int bytesBefore = package.totalSize();
        append(package, input);
        if (package.numberOfSections() > before)
            entries.append(package.totalSize() - bytesBefore);
    }
    checkSections(package, entries);

    entries = takeSizes(input);
    package.setSectionSize(entries);
    checkSections(package, entries);
    package.setData(input.bytes(input.byte()));
    checkSections(package, entries);

    const int excluded = input.number32();
    const QByteArray summed = package.byteArrayData().chopped(qBound(0, excluded, package.totalSize()));
    int sum = 0;
    for (const char byte : summed)
        sum ^= static_cast<unsigned char>(byte);
    CHECK(TxPackage::calculateFCS(&package, excluded) == sum);
    CHECK(package.toString() == dumpByteArray(package.byteArrayData()));
}

} // namespace

void prepare()
{
}

void tryInput(Input& input)
{
    if (input.byte() % 2 == 0)
        checkText(input.rest());
    else
        checkPackage(input);
}
