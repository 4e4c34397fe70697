// Format texts through the packers and the unpacker, with buffers and arrays of exactly the size that the
// format says.

#include "check.h"
#include "harness.h"
#include "tools.h"

#include <QVector>

#include <climits>
#include <cstring>
#include <vector>

namespace {

const int maxItems = 8;
const std::uint64_t maxBytes = 4096; ///< of a format that is tried

/// What a format describes, found by other means than the packer's.
struct Layout
{
    bool isKnown = true;     ///< every item is one that the unpacker has
    bool hasUnknown = false; ///< it ends at a letter that is none, without a count
    bool hasCountedFiller = false;
    bool hasPlainX = false;
    bool fits = true; ///< few enough items and bytes to be tried
    bool allCounted = true;
    bool allPlain = true;
    std::uint64_t length = 0;          ///< bytes up to the end or the first error
    std::vector<std::uint64_t> arrays; ///< bytes behind each argument
};

std::uint64_t widthOf(char letter)
{
    const char* const widths[] = {"", "CcxX", "nSsv", "", "NIiLlV"};
    for (std::uint64_t width = 1; width <= 4; ++width)
        if (std::strchr(widths[width], letter))
            return width;
    return 0;
}

/// Adds one item; false at an error, behind which nothing is looked at.
bool addItem(Layout& layout, bool counted, std::uint32_t count, char letter)
{
    const bool isFiller = letter == 'x' || letter == 'X';
    const bool takesCount = std::strchr("CcnvNVxX", letter) != nullptr;
    const std::uint64_t bytes = widthOf(letter) * (counted ? count : 1);
    layout.hasUnknown = !counted && bytes == 0;
    layout.isKnown = bytes <= INT_MAX && (counted ? takesCount && (bytes > 0 || isFiller) : bytes > 0);
    if (!layout.isKnown)
        return false;
    layout.length += bytes;
    layout.hasCountedFiller |= counted && isFiller;
    layout.hasPlainX |= letter == 'X';
    if (!isFiller) {
        layout.arrays.push_back(bytes);
        (counted ? layout.allPlain : layout.allCounted) = false;
    }
    return true;
}

Layout layoutOf(const QByteArray& format)
{
    Layout layout;
    for (int i = 0; i < format.size(); ++i) {
        const int start = i;
        std::uint32_t count = 0;
        for (; i < format.size() && format.at(i) >= '0' && format.at(i) <= '9'; ++i)
            count = count * 10 + static_cast<std::uint32_t>(format.at(i) - '0');
        if (i == format.size()) {
            layout.isKnown = false;
            break;
        }
        if (!addItem(layout, i > start, count, format.at(i)))
            break;
    }
    layout.fits = layout.length <= maxBytes && layout.arrays.size() <= maxItems;
    return layout;
}

/// Memory of exactly the size that each argument needs, so that a sanitizer sees a byte too many.
class Arrays
{
public:
    explicit Arrays(const Layout& layout)
    {
        for (const std::uint64_t size : layout.arrays)
            m_memory.emplace_back(size);
    }

    void* at(std::size_t item) { return item < m_memory.size() ? m_memory[item].data() : nullptr; }

    /// The element at the front, for a packer.
    int numberAt(std::size_t item) const
    {
        std::uint32_t number = 0;
        if (item < m_memory.size())
            std::memcpy(&number, m_memory[item].data(), m_memory[item].size());
        return static_cast<int>(number);
    }

    bool operator==(const Arrays& other) const { return m_memory == other.m_memory; }

private:
    std::vector<std::vector<unsigned char>> m_memory;
};

template<typename Function, typename Buffer>
auto withPointers(Function function, Buffer buffer, const char* format, Arrays& a)
{
    return function(buffer, format, a.at(0), a.at(1), a.at(2), a.at(3), a.at(4), a.at(5), a.at(6), a.at(7));
}

int pack(unsigned char* out, const char* format, const Layout& layout, Arrays& a)
{
    if (!layout.allPlain)
        return withPointers(DataPack, out, format, a);
    return DataPack(out, format, a.numberAt(0), a.numberAt(1), a.numberAt(2), a.numberAt(3), a.numberAt(4),
                    a.numberAt(5), a.numberAt(6), a.numberAt(7));
}

QByteArray packArray(const char* format, const Layout& layout, Arrays& a)
{
    if (!layout.allPlain)
        return ByteArrayPack(format, a.at(0), a.at(1), a.at(2), a.at(3), a.at(4), a.at(5), a.at(6), a.at(7));
    return ByteArrayPack(format, a.numberAt(0), a.numberAt(1), a.numberAt(2), a.numberAt(3), a.numberAt(4),
                         a.numberAt(5), a.numberAt(6), a.numberAt(7));
}

void checkPacking(const char* format, const Layout& layout, Arrays& values,
                  const std::vector<unsigned char>& unpacked)
{
    std::vector<unsigned char> out(layout.length);
    const int written = pack(out.data(), format, layout, values);
    const QByteArray array = packArray(format, layout, values);
    if (!layout.isKnown) {
        CHECK(written == (layout.hasUnknown ? 0 : -1) && array.isEmpty());
        return;
    }
    CHECK(written == static_cast<int>(layout.length));
    CHECK(layout.hasCountedFiller ? array.isEmpty()
                                  : array == QByteArray(reinterpret_cast<char*>(out.data()), written));

    Arrays again(layout);
    CHECK(withPointers(DataUnpack, static_cast<const unsigned char*>(out.data()), format, again) == written);
    CHECK(again == values);
    if (std::strpbrk(format, "xX") == nullptr)
        CHECK(out == unpacked);
}

} // namespace

void prepare()
{
}

/// A format up to a zero byte, then the bytes to unpack, as often as needed.
void tryInput(Input& input)
{
    const QByteArray text = input.rest();
    const QByteArray format = text.constData();
    const QByteArray content = text.mid(format.size() + 1);
    const Layout layout = layoutOf(format);
    if (!layout.fits)
        return;

    std::vector<unsigned char> in(layout.length);
    for (std::size_t i = 0; i < in.size() && !content.isEmpty(); ++i)
        in[i] = static_cast<unsigned char>(
            content.at(static_cast<int>(i % static_cast<std::size_t>(content.size()))));

    Arrays values(layout);
    const int consumed =
        withPointers(DataUnpack, static_cast<const unsigned char*>(in.data()), format.constData(), values);
    CHECK(consumed == (layout.isKnown ? static_cast<int>(layout.length) : -1));
    if (layout.allPlain || layout.allCounted)
        checkPacking(format.constData(), layout, values, in);
}
