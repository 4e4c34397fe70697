#include "watch/block_reader.h"

#include "session/answer.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace {

/// Where an item lies in its area, in bits as Address::position().
int beginOf(const Item& item)
{
    return item.address.position();
}

int endOf(const Item& item)
{
    return beginOf(item) + item.count * layoutOf(item.type()).width;
}

int roundedDown(const Item& item, int position)
{
    return item.address.isInBitArea() ? position : position / bitsOfRegister * bitsOfRegister;
}

int roundedUp(const Item& item, int position)
{
    return item.address.isInBitArea() ? position : roundedDown(item, position + bitsOfRegister - 1);
}

/// Not what the driver refuses, and not bytes of bits, which depend on the tags of the project.
bool mayHaveNeighbours(const Item& item)
{
    const int endOfArea = largestNumber * (item.address.isInBitArea() ? 1 : bitsOfRegister);
    return !item.address.isForeign() && endOf(item) <= endOfArea &&
           item.type().kind != SignalType::DriverQuadWord &&
           !(item.address.isInBitArea() && layoutOf(item.type()).width > 1);
}

auto areaOf(const Item& item)
{
    return std::make_tuple(item.address.station, item.address.area);
}

/// Orders neighbours next to each other, and behind them the items that have none.
auto placeOf(const Item& item)
{
    const bool isAlone = !mayHaveNeighbours(item);
    return std::make_tuple(isAlone, areaOf(item), isAlone ? 0 : beginOf(item));
}

/// count bits of data from the one at offset.
QByteArray bitsOf(const QByteArray& data, int offset, int count)
{
    QByteArray bits((count + 7) / 8, '\0');
    for (int i = 0; i < count; ++i) {
        const int bit = static_cast<unsigned char>(data.at((offset + i) / 8)) >> ((offset + i) % 8) & 1;
        bits[i / 8] = static_cast<char>(static_cast<unsigned char>(bits.at(i / 8)) | bit << (i % 8));
    }
    return bits;
}

/// The driver gives a double word with the mark SW from two registers in the other order.
void exchangeWords(QByteArray& data)
{
    for (int i = 0; i + 3 < data.size(); i += 4)
        std::swap_ranges(data.begin() + i, data.begin() + i + 2, data.begin() + i + 2);
}

bool isRefusalOfBlock(const CommandOutcome& outcome)
{
    constexpr int illegalAddress = 2;
    constexpr int illegalValue = 3;
    const Answer answer = answerFromError(outcome.error);
    return answer.kind == Answer::Exception && (answer.code == illegalAddress || answer.code == illegalValue);
}

/// What a whole station says, or does not say: the link's own words, see docs/errors.md, or an exception that
/// means "later".
bool isSilence(const CommandOutcome& outcome)
{
    return outcome.error.contains(QLatin1String("no answer from ")) ||
           outcome.error.contains(QLatin1String("no connection to ")) ||
           (outcome.error.contains(QLatin1String("exception code:")) &&
            answerFromError(outcome.error).kind == Answer::Silence);
}

CommandOutcome unasked()
{
    CommandOutcome outcome;
    outcome.error = QStringLiteral("no answer just before, so not asked");
    return outcome;
}

} // namespace

BlockReader::BlockReader(const QVector<Item>& items, const BlockSizes& sizes, const ReadCommand& read)
    : m_items(items), m_read(read)
{
    makeBlocks(sizes);
}

void BlockReader::makeBlocks(const BlockSizes& sizes)
{
    QVector<int> sorted;
    for (int i = 0; i < m_items.size(); ++i)
        sorted += i;
    std::stable_sort(sorted.begin(), sorted.end(), [this](int left, int right) {
        return placeOf(m_items.at(left)) < placeOf(m_items.at(right));
    });
    int begin = 0;
    int end = 0;
    for (const int index : sorted) {
        const Item& item = m_items.at(index);
        const bool isAlone = !mayHaveNeighbours(item);
        const int most = item.address.isInBitArea() ? sizes.bits : sizes.registers * bitsOfRegister;
        const int itemBegin = isAlone ? 0 : roundedDown(item, beginOf(item));
        const int itemEnd = isAlone ? 0 : roundedUp(item, endOf(item));
        const bool continues = !isAlone && !m_blocks.isEmpty() &&
                               areaOf(item) == areaOf(m_items.at(m_blocks.last().first())) &&
                               itemBegin <= end && std::max(end, itemEnd) - begin <= most;
        if (!continues) {
            m_blocks += Block();
            begin = end = itemBegin;
        }
        m_blocks.last() += index;
        end = std::max(end, itemEnd);
    }
    const auto first = [](const Block& block) { return *std::min_element(block.begin(), block.end()); };
    std::sort(m_blocks.begin(), m_blocks.end(),
              [&](const Block& left, const Block& right) { return first(left) < first(right); });
}

void BlockReader::readAll(const Report& report, const std::function<bool()>& isOver)
{
    QVector<Block> left;
    QVector<Block> silent; // come last the next time
    left.swap(m_blocks);
    QSet<int> failed;
    std::set<Station> notAsked;
    bool isAnswered = false;
    while (!left.isEmpty() && !isOver()) {
        const Block block = m_current = left.takeFirst();
        const Station station = m_items.at(block.first()).address.station;
        const bool isAsked = notAsked.count(station) == 0 && isToBeAsked(station);
        const CommandOutcome outcome = isAsked ? read(block, station) : unasked();
        if (isRefusalOfBlock(outcome) && block.size() > 1) {
            left = QVector<Block>{block.mid(0, block.size() / 2), block.mid(block.size() / 2)} + left;
            m_failed += QSet<int>(block.begin(), block.end());
            continue;
        }
        const bool isSilent = isAsked && isSilence(outcome);
        if (isSilent)
            notAsked.insert(station);
        isAnswered = isAnswered || (isAsked && !isSilent);
        (isSilent ? silent : m_blocks) += block;
        if (!outcome.done())
            failed += QSet<int>(block.begin(), block.end());
        for (const int index : block)
            report(index, outcomeOf(index, block, outcome), isAsked && index == block.first());
    }
    m_current.clear();
    m_blocks += left + silent;
    m_failed = failed;
    m_isAnswered = isAnswered;
}

bool BlockReader::isToBeAsked(const Station& station) const
{
    const auto silent = m_silent.find(station);
    return silent == m_silent.end() || !m_isAnswered || Clock::now() >= silent->second;
}

CommandOutcome BlockReader::read(const Block& block, const Station& station)
{
    constexpr int pauses = 3; // as long as the silence
    CommandOutcome outcome = m_read(commandOf(block), station, m_failed.contains(block.first()));
    m_silent.erase(station);
    if (isSilence(outcome))
        m_silent[station] =
            Clock::now() + std::chrono::milliseconds(static_cast<qint64>(pauses * outcome.milliseconds));
    return outcome;
}

CommunicatorCommand BlockReader::commandOf(const Block& block) const
{
    const Item& first = m_items.at(block.first());
    if (block.size() == 1)
        return first.command();
    const int begin = roundedDown(first, beginOf(first));
    int end = begin;
    for (const int index : block)
        end = std::max(end, roundedUp(first, endOf(m_items.at(index))));
    Address address = first.address;
    address.highWordFirst = false;
    const bool inBits = address.isInBitArea();
    return CommunicatorCommand(inBits ? Bit : Word, (end - begin) / (inBits ? 1 : bitsOfRegister),
                               address.at(begin, false).text);
}

CommandOutcome BlockReader::outcomeOf(int index, const Block& block, const CommandOutcome& outcome) const
{
    if (block.size() == 1 || !outcome.done())
        return outcome;
    const Item& item = m_items.at(index);
    const Item& first = m_items.at(block.first());
    CommandOutcome own = outcome;
    own.data =
        bitsOf(outcome.data, beginOf(item) - roundedDown(first, beginOf(first)), endOf(item) - beginOf(item));
    if (item.type().kind == SignalType::DriverDoubleWord && item.address.highWordFirst)
        exchangeWords(own.data);
    return own;
}
