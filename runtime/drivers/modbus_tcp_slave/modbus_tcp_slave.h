#ifndef MODBUS_TCP_SLAVE_H
#define MODBUS_TCP_SLAVE_H

#include "driver_interface.h"
#include "modbus_bit_set.h"
#include "qt_versions.h"

#include <QByteArray>
#include <QObject>
#include <QRegExp>
#include <QString>

#include <cstddef>
#include <map>

class DeviceSetting;

/// Sizes and limits of one Modbus TCP transaction. The read limits are the sizes that the driver reports to
/// the runtime. 1976 coils fill the 247 data bytes that an application data unit of 260 bytes has room for;
/// the Modbus standard allows 1968, so devices may refuse the last eight.
namespace modbus_tcp {
enum : int
{
    MbapLength = 7,
    ReplyStartLength = 9, ///< header, function code and one byte: the least that any reply has
    WriteReplyLength = 12,
    ReceiveBufferLength = 261,
    MaxReadRegisters = 125,
    MaxReadBits = 2008,
    MaxWriteRegisters = 123,
    MaxWriteBits = 1976,
    AddressSpace = 65536
};

inline unsigned int upperCase(ushort code)
{
    return code >= 'a' && code <= 'z' ? code - 'a' + 'A' : code;
}

/// Whether the text, whatever the case of its letters, begins with area, which is in capitals.
template<std::size_t Size>
bool beginsWith(const QByteArray& text, const char (&area)[Size])
{
    for (std::size_t i = 0; i < Size - 1; ++i)
        if (upperCase(static_cast<unsigned char>(text.constData()[i])) != static_cast<unsigned char>(area[i]))
            return false;
    return true;
}

/// The text ends with a zero character.
template<std::size_t Size>
bool beginsWith(const QChar* text, const char (&area)[Size])
{
    for (std::size_t i = 0; i < Size - 1; ++i)
        if (upperCase(text[i].unicode()) != static_cast<unsigned char>(area[i]))
            return false;
    return true;
}
struct RequestHead;
} // namespace modbus_tcp

/// The Modbus TCP driver.
///
/// A command travels one way: read or write (dispatch.cpp) choose an area reader or writer, which checks the
/// limits of one request and converts data; that runs one transaction per request, which frames, sends,
/// receives and checks. Each layer reports failure by its result and leaves the reason in the error state.
///
/// Addresses below the dispatchers are zero-based 16-bit Modbus addresses; texts and messages print the
/// one-based number. On the wire registers are big-endian; towards the runtime words are low byte first,
/// double words least significant byte first and bits packed 8 per byte from bit 0 of byte 0.
///
/// One object serves one thread at a time. Objects share nothing on the way of a command.
class Q_DECL_EXPORT DriverModbusTcpSlave : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)
    DRIVER_PLUGIN_METADATA(DriverInterface_iid)

public:
    DriverModbusTcpSlave();

    /// Leaves the project database connection registered, as its name may not be given to another object.
    ~DriverModbusTcpSlave() override;

    // The contract with the runtime.
    int totalSize() override;
    bool write(AbstractDeviceInterface* device, const CommunicatorCommand& command,
               const QByteArray& data) override;
    QByteArray read(AbstractDeviceInterface* device, const CommunicatorCommand& command) override;
    bool initialize(AbstractDeviceInterface* device) override;
    bool validation(const QString& text) override;
    QString name() override;
    QString vender() override;
    QString getVersionNumber() override;
    DeviceSetting* getDefaultSerialDeviceSetting() override;
    DriverSetting* getDefaultDriverSetting() override;
    QString getStringBasedDefaultDriverSetting() override;
    int supportedCommunicationFlags() override;
    void setDebugMode(bool on) override;
    int getBlockAccessSize() override;
    int getBitBlockAccessSize() override;
    bool hasError() override;
    QString getLastError() override;
    QObject* getThisObject() override;
    bool isConnected(AbstractDeviceInterface* device) override;

    // Error state.

    /// Raises the error flag and replaces the error text.
    void setCommError(const QString& text);

    /// Lowers the error flag; the text stays.
    void clearError();

    /// Put "read 4 word(s) from 1-HR100> " (or the like for the command) in front of the error text, unless
    /// the text holds a '>' already. station: 0 to 255.
    void appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command);
    void appendCmdToWriteCommError(unsigned char station, const CommunicatorCommand& command);

    // Project database (project_tags.cpp).

    /// Loads the valid bit tables of the link's default stations once; true when they are loaded, now or
    /// earlier. On failure the error text is set and the next call tries again. deviceString is not used:
    /// the link is found by the linkID of the device's settings.
    bool readDB(AbstractDeviceInterface* device, const QString& deviceString);

    /// Registers and opens this object's read-only connection. True when it was registered before, open or
    /// not.
    bool createDBConnection();

    /// Rebuilds the valid bit tables from the tags of link linkId; tags that name no station belong to
    /// defaultStation. False, with the tables unchanged, when the tags can not be read to their end, or are
    /// more than four million.
    bool initValidBitAddressesMap(int linkId, unsigned char defaultStation);

    void validBitAddressesMapInsertDO(unsigned char station, unsigned short address);
    void validBitAddressesMapInsertDI(unsigned char station, unsigned short address);

    // Area readers (area_readers.cpp): one request each, an empty array on failure. prefix is the area
    // prefix of the command's address, in any case; count is refused before anything is sent when one
    // request can not carry it or when it passes Modbus address 65535.

    /// count registers (at most 125), 2 bytes each.
    QByteArray readWords(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                         int count);

    /// count 32-bit values (at most 62), 4 bytes each. highWordFirst: the lower-addressed register of each
    /// pair holds the high 16 bits.
    QByteArray readDWords(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                          int count, bool highWordFirst);

    /// count bytes (at most 250) out of registers, the low byte of each register first.
    QByteArray readBytes(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                         int count);

    /// count coils or discrete inputs (at most 2008); bits beyond count in the last byte are 0.
    QByteArray readDIDOs(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                         int count);

    /// count bits out of registers, from bit number bit on, counted from bit 0 of the register at address.
    QByteArray readIRHRbits(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                            unsigned char bit, int count);

    // Sparse bit reads (sparse_bits.cpp): count bytes of bits from address on, asking the device only for
    // the bits that the project has tags for; the others are 0. An empty array on failure.
    QByteArray readBytesFromDI(AbstractDeviceInterface* device, unsigned short address, int count);
    QByteArray readBytesFromDO(AbstractDeviceInterface* device, unsigned short address, int count);

    // Area writers (area_writers.cpp). Bits are packed as the runtime supplies them; register data is in
    // device order, high byte first. Refused before anything is sent: more than 1976 coils or 123
    // registers, data that no request can carry, a range that passes Modbus address 65535. Writers of one
    // element per request stop at the first failure; what was written before it stays written.

    /// count coils in one request of function code 15.
    bool writeCoils(AbstractDeviceInterface* device, unsigned short address, const QByteArray& data,
                    int count);

    /// count coils, one request of function code 5 each.
    bool writeCoilsWithFN5(AbstractDeviceInterface* device, unsigned short address, const QByteArray& data,
                           int count);

    /// All registers of data in one request of function code 16.
    bool writeWords(AbstractDeviceInterface* device, unsigned short address, const QByteArray& data);

    /// One register with function code 6.
    bool write1WordWithFN6(AbstractDeviceInterface* device, unsigned short address, const QByteArray& data);

    /// All registers of data, one request of function code 6 each.
    bool writeWordsWithFN6(AbstractDeviceInterface* device, unsigned short address, const QByteArray& data);

    /// count bits inside holding registers, from bit number bit of the register at address on: the
    /// registers are read, changed and written back whole, with function code 16 or, register by register,
    /// 6. A change that another master makes in between is overwritten.
    bool writeHRbit(AbstractDeviceInterface* device, unsigned short address, unsigned char bit,
                    const QByteArray& data, int count);
    bool writeHRbitWithFN6(AbstractDeviceInterface* device, unsigned short address, unsigned char bit,
                           const QByteArray& data, int count);

    // Transactions (transactions.cpp).

    /// Transaction identifier of the last request, 0 before the first.
    unsigned short getTID();

    /// Checks the 7 header bytes at response against the last request. expectedLength: the MBAP length of
    /// the normal response; 3, an exception reply's, is accepted too. Records the reason on failure.
    bool checkMBAP(const char* response, unsigned short expectedLength, unsigned char unitId);

    /// Looks at bytes 7 and 8 of response: true when the function code is the request's. Otherwise tells
    /// whether it is an exception reply and, if so, its exception code. Records nothing.
    bool checkException(const char* response, unsigned char functionCode, bool& isException,
                        unsigned char& exceptionCode);

    // Requests: true when the link took the whole frame; written is the count that it took. Nothing is
    // recorded on failure.
    bool sendReadDevicesCmd(AbstractDeviceInterface* device, unsigned char functionCode,
                            unsigned short startAddress, unsigned short quantity, int& written);
    bool sendWrite1CoilCmd(AbstractDeviceInterface* device, unsigned short address, bool on, int& written);
    bool sendWrite1WordCmd(AbstractDeviceInterface* device, unsigned short address, const QByteArray& value,
                           int& written);
    bool sendWriteCoilsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                           unsigned short quantity, const QByteArray& data, int& written);
    bool sendWriteWordsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                           const QByteArray& data, int& written);

    // Responses: true when a complete and valid one is in buffer; received counts the bytes read. On
    // failure the reason is recorded and the link closed, except after an exception reply or a wrong echo.
    // buffer holds at least the expected response: expectedLength bytes, 12 for the write responses.
    bool recvReadDeviceRsp(AbstractDeviceInterface* device, unsigned char functionCode, char* buffer,
                           int expectedLength, int& received);
    bool recvWrite1CoilRsp(AbstractDeviceInterface* device, unsigned short address, bool on, char* buffer,
                           int& received);
    bool recvWrite1WordRsp(AbstractDeviceInterface* device, unsigned short address, const QByteArray& value,
                           char* buffer, int& received);
    bool recvWriteDevicesRsp(AbstractDeviceInterface* device, unsigned char functionCode,
                             unsigned short startAddress, unsigned short quantity, char* buffer,
                             int& received);

private:
    // Nothing but the module itself calls these: hidden, they take no room in its table of symbols.

    template<typename Attempt>
    bool runAttempts(AbstractDeviceInterface* device, Attempt attempt);
    Q_DECL_HIDDEN bool loadProject(AbstractDeviceInterface* device);
    Q_DECL_HIDDEN void reopenChangedProject();
    Q_DECL_HIDDEN void describeCommand(const char* verb, const char* preposition, unsigned char station,
                                       const CommunicatorCommand& command);

    Q_DECL_HIDDEN QByteArray readArea(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                      const QByteArray& prefix, unsigned short address, unsigned char bit);
    Q_DECL_HIDDEN bool writeArea(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                 const QByteArray& data, const QByteArray& prefix, unsigned short address,
                                 unsigned char bit);
    Q_DECL_HIDDEN bool writeBits(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                 const QByteArray& data, const QByteArray& prefix, unsigned short address,
                                 unsigned char bit);
    Q_DECL_HIDDEN bool writeRegisters(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                      const QByteArray& data, const QByteArray& prefix,
                                      unsigned short address, const char* elementName);

    Q_DECL_HIDDEN bool requestRead(AbstractDeviceInterface* device, unsigned char functionCode,
                                   unsigned short address, quint64 quantity);
    Q_DECL_HIDDEN QByteArray readSparseBits(AbstractDeviceInterface* device, unsigned short address,
                                            int count, UShortVector ModbusBitSet::*tags, const char* area);

    Q_DECL_HIDDEN bool coilsFitRequest(unsigned short address, int count, int dataLength);
    Q_DECL_HIDDEN bool wordsFitRequest(unsigned short address, quint64 words);
    Q_DECL_HIDDEN bool wordsFitFN6Requests(unsigned short address, quint64 words);
    Q_DECL_HIDDEN bool failedToSend(AbstractDeviceInterface* device);
    Q_DECL_HIDDEN QByteArray changedRegisters(AbstractDeviceInterface* device, unsigned short address,
                                              unsigned char bit, const QByteArray& data, int count);

    Q_DECL_HIDDEN bool sendRequest(AbstractDeviceInterface* device, const modbus_tcp::RequestHead& head,
                                   unsigned char functionCode, unsigned short address, unsigned short value,
                                   const QByteArray& data, int& written);
    Q_DECL_HIDDEN bool receiveResponse(AbstractDeviceInterface* device, unsigned char functionCode,
                                       char* buffer, int expectedLength, int& received);
    Q_DECL_HIDDEN bool failAndClose(AbstractDeviceInterface* device, const QString& text);

    // Set the error text and return false.
    Q_DECL_HIDDEN bool fail(const QString& text);
    Q_DECL_HIDDEN bool fail(const char* latin1);

    /// What tells one state of the project database file from another.
    struct FileStamp
    {
        quint64 device, inode, size;
        qint64 seconds, nanoseconds;
    };

    bool hasCommError;
    bool debugMode;
    bool databaseOpened; ///< the connection is registered and counts as open
    bool databaseLoaded; ///< the tables below stand; never cleared again
    unsigned short transactionId;
    QRegExp bitAddressRegExp; ///< station-qualified bit tags: station, area, number
    QString lastError;
    QString connectionName;
    std::map<unsigned char, ModbusBitSet> validBitAddressesMap;
    QByteArray areaPrefix;  ///< of the command at hand; kept so that the next one need not make it again
    bool madeConnection;    ///< it is the driver's own, not one that somebody registered under its name
    FileStamp projectStamp; ///< of the project file when it was last looked into without success
};

#endif
