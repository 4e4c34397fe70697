#ifndef MODBUS_TCP_SLAVE_H
#define MODBUS_TCP_SLAVE_H

#include "driver_interface.h"
#include "modbus_bit_set.h"
#include "qt_versions.h"

#include <QByteArray>
#include <QObject>
#include <QRegExp>
#include <QString>

#include <map>

class DeviceSetting;

/// Sizes and limits of one Modbus TCP transaction, in bytes unless the name says otherwise. The first two
/// come from the Modbus standard ("MODBUS Messaging on TCP/IP Implementation Guide", MBAP header; "MODBUS
/// Application Protocol Specification", size of the protocol data unit). The limits follow from them: in a
/// read reply a function code and a byte count precede the data, in a write request also an address and a
/// quantity. For bits the standard allows less (2000 to read, 1968 to write), so devices may refuse the last
/// few.
namespace modbus_tcp {
enum : int
{
    MbapLength = 7,
    ProtocolDataUnit = 253,
    ApplicationDataUnit = MbapLength + ProtocolDataUnit,
    ReceiveBufferLength = ApplicationDataUnit + 1,

    ReplyStartLength = MbapLength + 2, ///< header, function code and one byte: the shortest start of a reply
    WriteReplyLength = MbapLength + 5, ///< header, function code, address, and value or quantity

    MaxReadData = ProtocolDataUnit - 2,
    MaxReadRegisters = MaxReadData / 2,
    MaxReadBits = MaxReadData * 8,
    MaxWriteData = ProtocolDataUnit - 6,
    MaxWriteRegisters = MaxWriteData / 2,
    MaxWriteBits = MaxWriteData * 8,
    MaxByteCount = 255, ///< most that a request's byte count can say

    AddressSpace = 65536 ///< registers or bits of an area
};
struct RequestHead;
} // namespace modbus_tcp

/// The Modbus TCP driver.
///
/// A command travels one way: read or write (dispatch.cpp) chooses an area reader or writer, which checks the
/// limits of one request and converts data. That runs one transaction per request, which frames, sends,
/// receives and checks. Each layer reports failure by its result and leaves the reason in the error state.
///
/// Addresses below the dispatchers are zero-based 16-bit Modbus addresses; texts and messages print the
/// one-based number. On the wire, registers are big-endian; in the runtime's data, words are low byte first,
/// double words least significant byte first, and bits packed 8 per byte from bit 0 of byte 0.
///
/// One object serves one thread at a time. Objects share nothing while they run a command.
class Q_DECL_EXPORT DriverModbusTcpSlave : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)
    DRIVER_PLUGIN_METADATA(DriverInterface_iid)

public:
    DriverModbusTcpSlave();

    /// The project database connection stays registered until the process ends: closed after a load that
    /// succeeded; open, with its file descriptor, after one that failed once the database was open.
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

    /// Sets the error flag and replaces the error text.
    void setCommError(const QString& text);

    /// Clears the error flag; the text stays.
    void clearError();

    /// Puts "read 4 word(s) from 1-HR100> " (or what fits the command) in front of the error text, unless the
    /// text already contains a '>'. station: 0 to 255.
    void appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command);
    void appendCmdToWriteCommError(unsigned char station, const CommunicatorCommand& command);

    // Project database (project_tags.cpp).

    /// Loads the valid bit tables of the link's default stations once; true if they are loaded, now or
    /// earlier. On failure it sets the error text, and the next call continues where this one stopped: with
    /// the connection that is open by then, whatever has become of the file. deviceString is not used: the
    /// link is found by the linkID of the device's settings.
    bool readDB(AbstractDeviceInterface* device, const QString& deviceString);

    /// Registers and opens this object's read-only connection. Also true if one of its name was already
    /// registered, open or not and whoever registered it; that one is then used as it is.
    bool createDBConnection();

    /// Rebuilds the valid bit tables from the tags of link linkId; tags that name no station belong to
    /// defaultStation. False, with the tables unchanged, if the statement fails. False, with the tables
    /// empty, if the tags cannot be read to their end or there are more than four million.
    bool initValidBitAddressesMap(int linkId, unsigned char defaultStation);

    /// Add a zero-based address to the table of a station, 0 to 255; the tables are not sorted afterwards.
    void validBitAddressesMapInsertDO(unsigned char station, unsigned short address);
    void validBitAddressesMapInsertDI(unsigned char station, unsigned short address);

    // Area readers (area_readers.cpp): one request each, an empty array on failure. prefix is the area prefix
    // of the command's address, in upper or lower case. A count that one request cannot carry, or that goes
    // past Modbus address 65535, is refused before anything is sent.

    /// count registers (at most 125), 2 bytes each.
    QByteArray readWords(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                         int count);

    /// count 32-bit values (at most 62), 4 bytes each. highWordFirst: the lower-addressed register of each
    /// pair holds the high 16 bits.
    QByteArray readDWords(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                          int count, bool highWordFirst);

    /// count bytes (at most 250) from registers, the low byte of each register first.
    QByteArray readBytes(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                         int count);

    /// count coils or discrete inputs (at most 2008); bits beyond count in the last byte are 0.
    QByteArray readDIDOs(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                         int count);

    /// count bits from registers, starting at bit number bit, counted from bit 0 of the register at address.
    QByteArray readIRHRbits(AbstractDeviceInterface* device, const QByteArray& prefix, unsigned short address,
                            unsigned char bit, int count);

    // Sparse bit reads (sparse_bits.cpp): count bytes of bits from address on, asking the device only for
    // the bits that the project has tags for; the others are 0. An empty array on failure.
    QByteArray readBytesFromDI(AbstractDeviceInterface* device, unsigned short address, int count);
    QByteArray readBytesFromDO(AbstractDeviceInterface* device, unsigned short address, int count);

    // Area writers (area_writers.cpp). Bits are packed as the runtime supplies them; register data is in
    // device order, high byte first. Refused before anything is sent: more than 1976 coils or 123 registers,
    // and a range that goes past Modbus address 65535. Writers of one element per request stop at the first
    // failure; what was written before it stays written.

    /// count coils in one request of function code 15. All of data is sent, even bytes beyond what the coils
    /// need; more than 255 bytes, which the request's byte count cannot say, are refused.
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

    /// Checks the 7 header bytes at response against the last request. expectedLength is the MBAP length of
    /// the normal response; 3, that of an exception reply, is accepted too. Records the reason on failure.
    bool checkMBAP(const char* response, unsigned short expectedLength, unsigned char unitId);

    /// Looks at bytes 7 and 8 of response: true when the function code is the request's. Otherwise tells
    /// whether it is an exception reply and, if so, its exception code. Records nothing.
    bool checkException(const char* response, unsigned char functionCode, bool& isException,
                        unsigned char& exceptionCode);

    // Requests: true if the link took the whole frame; written is the number of bytes that it took. Nothing
    // is recorded on failure.
    bool sendReadDevicesCmd(AbstractDeviceInterface* device, unsigned char functionCode,
                            unsigned short startAddress, unsigned short quantity, int& written);
    bool sendWrite1CoilCmd(AbstractDeviceInterface* device, unsigned short address, bool on, int& written);
    bool sendWrite1WordCmd(AbstractDeviceInterface* device, unsigned short address, const QByteArray& value,
                           int& written);
    bool sendWriteCoilsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                           unsigned short quantity, const QByteArray& data, int& written);
    bool sendWriteWordsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                           const QByteArray& data, int& written);

    // Responses: true if a complete and valid one is in buffer; received counts the bytes read. On failure
    // the reason is recorded and the link closed, except after an exception reply or a wrong echo. buffer
    // holds at least the expected response: expectedLength bytes, 12 for the write responses.
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
    /// Record the text, close the link in the second case, and return false.
    bool fail(const QString& text);
    bool failAndClose(AbstractDeviceInterface* device, const QString& text);

    template<typename Attempt>
    bool runAttempts(AbstractDeviceInterface* device, Attempt attempt);

    bool sendRequest(AbstractDeviceInterface* device, const modbus_tcp::RequestHead& head,
                     unsigned char functionCode, unsigned short address, unsigned short value,
                     const QByteArray& data, int& written);
    bool receiveResponse(AbstractDeviceInterface* device, unsigned char functionCode, char* buffer,
                         int expectedLength, int& received);

    /// Number of registers that hold count bits from bit on. For a count that no request can carry, the
    /// number is one that no request can carry either.
    static int registersOfBits(unsigned char bit, int count);

    void insertTag(const QString& tag, unsigned char defaultStation);

    /// Whether write requests can carry size bytes of register data to address; records the reason if not.
    bool wordsFitRequest(unsigned short address, quint64 size);
    bool wordsFitFN6Requests(unsigned short address, quint64 size);

    QByteArray readArea(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                        const QByteArray& prefix, unsigned short address, unsigned char bit);
    bool writeArea(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                   const QByteArray& data, const QByteArray& prefix, unsigned short address,
                   unsigned char bit);
    bool writeRegisters(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                        const QByteArray& data, const QByteArray& prefix, unsigned short address,
                        const char* refusal);
    QByteArray readSparseBits(AbstractDeviceInterface* device, unsigned short address, int count,
                              UShortVector ModbusBitSet::*tags, const char* area);

    QByteArray changedRegisters(AbstractDeviceInterface* device, unsigned short address, unsigned char bit,
                                const QByteArray& data, int count);

    bool hasCommError;
    bool debugMode;
    bool databaseOpened; ///< the connection is registered and counts as open
    bool databaseLoaded; ///< the tables below are complete; never reset
    unsigned short transactionId;
    QRegExp bitAddressRegExp; ///< station-qualified bit tags: station, area, number
    QString lastError;
    QString connectionName;
    std::map<unsigned char, ModbusBitSet> validBitAddressesMap; ///< by station
};

#endif
