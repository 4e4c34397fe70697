#ifndef TX_PACKAGE_H
#define TX_PACKAGE_H

#include <QByteArray>
#include <QList>
#include <QString>

/// A frame made of sections (address, function, data, check characters ...) that lie back to back. To send a
/// frame, append its sections; to parse one, lay a known structure over the received bytes with setData and
/// setSectionSize. Then ask where each section is and what it holds.
///
/// Each section has an entry in the list of sizes: its length in bytes, or -k (k of 1 or more) for a section
/// whose length is a number held in section k. Where entries are summed, negative ones count as they are. No
/// list of sizes makes a function read outside the content. A package has one owner and is used by one thread
/// at a time.
class Q_DECL_EXPORT TxPackage
{
public:
    TxPackage();

    /// Empties the content and the list of sizes.
    void clearAll();

    int numberOfSections() const;

    /// Bytes of the content.
    int totalSize() const;

    /// Whether number is 0 or more and below numberOfSections().
    bool validSectionNumber(int number) const;

    /// Index of the section's first byte: the sum of all entries before its own, clamped to the range of int.
    /// -1 for an invalid section number.
    int sectionStartIndex(int number) const;

    /// The section's entry. If that is -k: the little-endian number in the first four bytes of section k, or
    /// in as many as section k and the content have (all four if the entry of section k is negative too).
    /// With the sizes 1, 1, -1 and the content 11 02 AB CD, section 2 has 2 bytes. 0 for an invalid section
    /// number, also if k is one.
    int sectionSize(int number) const;

    /// Copy of the section's bytes, as far as they lie inside the content. Empty for an invalid section
    /// number.
    QByteArray dataAt(int number) const;

    /// The content, for writing to: totalSize() bytes, valid until the package is changed.
    char* data();

    QByteArray byteArrayData() const;

    /// Replaces the content and leaves the list of sizes. Always true. A size of 0 or less empties it.
    bool setData(const QByteArray& bytes);
    bool setData(char* bytes, int size);

    /// Replaces the list of sizes and makes the content as long as the sum of its entries: cuts its end or
    /// appends zero bytes. A sum below 0 or beyond the range of int empties the content.
    void setSectionSize(const QList<int>& sizes);

    /// The first byte, 0 to 255; 0 for an empty array.
    int arrayToInt(const QByteArray& bytes) const;

    /// The content as dumpByteArray gives it.
    QString toString();

    // Each of these appends one section and returns true.

    bool appendSection(const QByteArray& bytes);
    bool appendString(const QString& text);    ///< one Latin-1 byte for each character
    bool appendByte(unsigned char byte);       ///< as it is
    bool appendByte2Ascii(unsigned char byte); ///< two upper-case hexadecimal digits
    bool appendWord(unsigned short word);      ///< two bytes, low byte first
    bool appendDWord(unsigned int doubleWord); ///< four bytes, least significant byte first
    bool appendLRCByte();                      ///< low 8 bits of the sum of the content so far
    bool appendLRCAscii();                     ///< the same in two upper-case hexadecimal digits
    bool appendFCSAscii(int unused);           ///< calculateFCS of the content so far, in two such digits

    /// Exclusive-or of all bytes of the content except the last `excluded` ones, 0 to 255. The package stays
    /// the caller's.
    static int calculateFCS(TxPackage* package, int excluded);

private:
    Q_DISABLE_COPY(TxPackage)

    qint64 startOf(int number) const;
    QByteArray contentPart(qint64 start, qint64 length) const;

    QByteArray content;
    QList<int> sectionSizes;
};

/// An empty list of section sizes.
Q_DECL_EXPORT QList<int> EmptyPackageSizeList();

#endif
