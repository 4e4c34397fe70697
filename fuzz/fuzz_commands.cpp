// Commands of every type, count and address through read and write, with a device that answers anything. The
// result must be what the device's bytes say, in exactly the length of the command, or a failure.

#include "faulty_link.h"
#include "harness.h"
#include "project_fixture.h"

#include <climits>
#include <memory>

namespace {

std::unique_ptr<DriverModbusTcpSlave> driver;

const int coilTags[] = {1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 30, 100, 65535, 65536};
const int inputTags[] = {2, 16, 17, 2000, 65536};

/// A command and what its address text says.
struct Command
{
    CommandDataType type;
    int count;
    QString text;
    bool isParsed; ///< the following are known
    int address;
    int bit;
};

bool isBitType(CommandDataType type)
{
    return type == Bit || type == BitBlock;
}

bool isByteType(CommandDataType type)
{
    return type == Byte || type == Block;
}

bool isServed(CommandDataType type)
{
    return isBitType(type) || isByteType(type) || type == Word || type == DoubleWord;
}

template<typename Value, std::size_t Size>
Value oneOf(const Value (&values)[Size], int choice)
{
    return values[static_cast<std::size_t>(choice) % Size];
}

/// Counts that a panel uses, and both ends of 32 bits. Byte reads of sparse areas accept the counts in
/// between, but at gigabytes each.
int takeCount(Input& input)
{
    static const int odd[] = {-1,          INT_MAX,     INT_MIN,    INT_MAX - 1, INT_MAX - 2,
                              INT_MIN + 1, INT_MIN / 2, -0x7FFFFFF, -0x7FFFFFFF};
    const int choice = input.byte();
    if (choice < 200)
        return choice;
    if (choice < 240)
        return input.number16();
    return oneOf(odd, choice);
}

Command takeCommand(Input& input)
{
    static const char* const areas[] = {"DI", "DO", "FN5DO", "HR", "FN6HR",
                                        "IR", "do", "fn6hr", "XY", "DOOR"};
    static const int oddTypes[] = {QuadWord, 7, -1, INT_MAX};
    Command command = {Bit, 0, QString(), true, 0, 0};
    const int type = input.byte();
    command.type = static_cast<CommandDataType>(type < 7 ? type : oneOf(oddTypes, type));
    command.count = takeCount(input);

    const int area = input.byte();
    command.isParsed = area < 240;
    if (!command.isParsed) {
        command.text = QString::fromUtf8(input.bytes(input.byte()));
        return command;
    }
    command.address = input.number16();
    command.text = QLatin1String(oneOf(areas, area)) + QString::number(command.address + 1);
    if (area & 64) {
        command.bit = input.byte();
        command.text += QLatin1Char('.') + QString::number(command.bit);
    }
    if (area & 128)
        command.text += QLatin1String(area & 32 ? "SW" : "sw");
    return command;
}

int dataLength(const Command& command)
{
    if (command.count <= 0 || !isServed(command.type))
        return 0;
    if (isBitType(command.type))
        return (command.count - 1) / 8 + 1;
    return command.count * (isByteType(command.type) ? 1 : command.type == Word ? 2 : 4);
}

bool bitOf(const QByteArray& bytes, int bit)
{
    return bytes.at(bit / 8) >> bit % 8 & 1;
}

void putBit(QByteArray& bytes, int bit, bool on)
{
    const int mask = 1 << bit % 8;
    bytes[bit / 8] = static_cast<char>(on ? bytes.at(bit / 8) | mask : bytes.at(bit / 8) & ~mask);
}

/// Groups of width bytes, each reversed; a last group that is not complete stays as it is.
QByteArray reversedGroups(QByteArray bytes, int width)
{
    for (int i = 0; i + width <= bytes.size(); i += width)
        std::reverse(bytes.begin() + i, bytes.begin() + i + width);
    return bytes;
}

int registerGroup(const Command& command)
{
    return command.type == DoubleWord && command.text.contains(QLatin1String("sw"), Qt::CaseInsensitive) ? 4
                                                                                                         : 2;
}

/// The command's data according to the bytes that the device delivered.
QByteArray dataOnTheWire(const Command& command, const std::vector<Transaction>& transactions)
{
    QByteArray data(dataLength(command), '\0');
    for (const Transaction& transaction : transactions) {
        const QByteArray payload = transaction.delivered.mid(9);
        if (transaction.functionCode() <= 2) {
            const int offset = (transaction.address() - command.address) & 0xFFFF;
            for (int i = 0; i < transaction.quantity(); ++i)
                putBit(data, offset + i, bitOf(payload, i));
            continue;
        }
        const QByteArray registers = reversedGroups(payload, registerGroup(command));
        if (!isBitType(command.type))
            return registers.left(data.size());
        for (int i = 0; i < command.count; ++i)
            putBit(data, i, bitOf(registers, command.bit + i));
    }
    return data;
}

/// Every request of a command that succeeded has a reply of its own.
void checkReplies(const FaultyLink& link)
{
    for (const Transaction& transaction : link.transactions) {
        CHECK(transaction.delivered.left(4) == transaction.request.left(4));
        CHECK(transaction.delivered.mid(6, 2) == transaction.request.mid(6, 2));
        CHECK(big16(transaction.delivered, 4) == 3 ||
              big16(transaction.delivered, 4) == transaction.delivered.size() - 6);
    }
}

void checkRead(const Command& command, const QByteArray& data, const FaultyLink& link)
{
    if (driver->hasError()) {
        CHECK(data.isEmpty() && !driver->getLastError().isEmpty());
        return;
    }
    CHECK(data.size() == dataLength(command));
    checkReplies(link);
    const bool wraps = isByteType(command.type) && command.address + 8LL * command.count > 65536;
    if (!command.isParsed || !isServed(command.type) || command.count <= 0 || wraps)
        return;
    CHECK(data == dataOnTheWire(command, link.transactions));
}

/// What a write sends depends on the command alone, which tst_commands tries; the device decides whether it
/// is done.
void checkWrite(const Command& command, bool done, const FaultyLink& link)
{
    CHECK(!done || !driver->hasError());
    CHECK(done || driver->hasError() || !isServed(command.type) || command.count == 0);
    if (!done)
        return;
    checkReplies(link);
    for (const Transaction& transaction : link.transactions)
        CHECK(transaction.functionCode() == 3 ||
              (transaction.delivered.size() == 12 &&
               transaction.delivered.mid(7) == transaction.echoedFields()));
}

} // namespace

void prepare()
{
    QStringList tags;
    for (const int number : coilTags)
        tags.append(QString::fromLatin1("DO%1").arg(number));
    for (const int number : inputTags)
        tags.append(QString::fromLatin1("DI%1").arg(number));
    ProjectFixture::clear();
    CHECK(ProjectFixture::create(ProjectFixture::usualPlace(), tags));

    Input nothing(nullptr, 0);
    driver = std::make_unique<DriverModbusTcpSlave>();
    FaultyLink link(nothing, *driver);
    CHECK(driver->readDB(&link, QString()));
    ProjectFixture::clear();
}

void tryInput(Input& input)
{
    FaultyLink link(input, *driver);
    link.retries = input.byte() % 4;
    link.station = input.byte() < 192 ? 1 : input.number32();
    for (int commands = 0; commands < 6 && (commands == 0 || !input.isEmpty()); ++commands) {
        link.beginCommand();
        const Command command = takeCommand(input);
        const CommunicatorCommand handed(command.type, command.count, command.text);
        if (input.byte() % 2 == 0) {
            checkRead(command, driver->read(&link, handed), link);
        } else {
            const QByteArray data = input.bytes(input.byte());
            checkWrite(command, driver->write(&link, handed, data), link);
        }
        CHECK(link.attempts <= link.retries + 1);
    }
}
