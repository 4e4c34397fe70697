#include "tx_package.h"

#include "tools/byte_access.h"
#include "tools/byte_order.h"
#include "tools/checksum.h"
#include "tools/text.h"
#include <climits>

namespace {

qint64 sumOfFirst(const QList<int>& sizes, int count)
{
    qint64 sum = 0;
    for (int i = 0; i < count; ++i)
        sum += sizes.at(i);
    return sum;
}

QByteArray hexDigits(unsigned char byte)
{
    return QByteArray(1, static_cast<char>(byte)).toHex().toUpper();
}

unsigned char sumOf(const QByteArray& bytes)
{
    return UInt8CheckSum(bytesOf(bytes), bytes.size());
}

} // namespace

TxPackage::TxPackage()
{
}

void TxPackage::clearAll()
{
    content.clear();
    sectionSizes.clear();
}

int TxPackage::numberOfSections() const
{
    return sectionSizes.size();
}

int TxPackage::totalSize() const
{
    return content.size();
}

bool TxPackage::validSectionNumber(int number) const
{
    return number >= 0 && number < numberOfSections();
}

int TxPackage::sectionStartIndex(int number) const
{
    if (!validSectionNumber(number))
        return -1;
    return static_cast<int>(qBound<qint64>(INT_MIN, startOf(number), INT_MAX));
}

int TxPackage::sectionSize(int number) const
{
    if (!validSectionNumber(number))
        return 0;
    const qint64 entry = sectionSizes.at(number);
    if (entry >= 0)
        return static_cast<int>(entry);
    if (-entry >= numberOfSections())
        return 0;
    const int holder = static_cast<int>(-entry);
    const int held = sectionSizes.at(holder);
    return QByteArrayToInt(contentPart(startOf(holder), held < 0 ? 4 : qMin(held, 4)));
}

QByteArray TxPackage::dataAt(int number) const
{
    if (!validSectionNumber(number))
        return QByteArray();
    return contentPart(startOf(number), sectionSize(number));
}

char* TxPackage::data()
{
    return content.data();
}

QByteArray TxPackage::byteArrayData() const
{
    return content;
}

bool TxPackage::setData(const QByteArray& bytes)
{
    content = bytes;
    return true;
}

bool TxPackage::setData(char* bytes, int size)
{
    content = size > 0 ? QByteArray(bytes, size) : QByteArray();
    return true;
}

void TxPackage::setSectionSize(const QList<int>& sizes)
{
    sectionSizes = sizes;
    const qint64 sum = sumOfFirst(sizes, sizes.size());
    resizeZeroFilled(content, sum < 0 || sum > INT_MAX ? 0 : static_cast<int>(sum));
}

int TxPackage::arrayToInt(const QByteArray& bytes) const
{
    return bytes.isEmpty() ? 0 : static_cast<unsigned char>(bytes.at(0));
}

QString TxPackage::toString()
{
    return dumpByteArray(content);
}

bool TxPackage::appendSection(const QByteArray& bytes)
{
    content += bytes;
    sectionSizes << bytes.size();
    return true;
}

bool TxPackage::appendString(const QString& text)
{
    return appendSection(text.toLatin1());
}

bool TxPackage::appendByte(unsigned char byte)
{
    return appendSection(QByteArray(1, static_cast<char>(byte)));
}

bool TxPackage::appendByte2Ascii(unsigned char byte)
{
    return appendSection(hexDigits(byte));
}

bool TxPackage::appendWord(unsigned short word)
{
    return appendSection(wordToByteArray(word));
}

bool TxPackage::appendDWord(unsigned int doubleWord)
{
    return appendSection(intToByteArray(static_cast<int>(doubleWord)));
}

bool TxPackage::appendLRCByte()
{
    return appendByte(sumOf(content));
}

bool TxPackage::appendLRCAscii()
{
    return appendByte2Ascii(sumOf(content));
}

bool TxPackage::appendFCSAscii(int)
{
    return appendByte2Ascii(static_cast<unsigned char>(calculateFCS(this, 0)));
}

int TxPackage::calculateFCS(TxPackage* package, int excluded)
{
    const int size = package->totalSize();
    const QByteArray content = package->byteArrayData();
    return XorUInt8CheckSum(bytesOf(content), size - qBound(0, excluded, size));
}

qint64 TxPackage::startOf(int number) const
{
    return sumOfFirst(sectionSizes, number);
}

QByteArray TxPackage::contentPart(qint64 start, qint64 length) const
{
    const qint64 begin = qMax<qint64>(0, start);
    const qint64 end = qMin<qint64>(start + length, content.size());
    return begin < end ? content.mid(static_cast<int>(begin), static_cast<int>(end - begin)) : QByteArray();
}

QList<int> EmptyPackageSizeList()
{
    return QList<int>();
}
