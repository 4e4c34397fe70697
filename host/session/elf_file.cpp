#include "session/elf_file.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <elf.h>
#include <link.h>
#include <optional>

namespace {

/// What the head of an ELF file says about the machine that it is for.
struct ElfHead
{
    int bits;
    bool bigEndian;
    unsigned fileType;
    unsigned machine;
};

std::optional<ElfHead> readElfHead(QFile& file)
{
    const QByteArray head = file.read(EI_NIDENT + 4);
    if (head.size() < EI_NIDENT + 4 || !head.startsWith(ELFMAG))
        return std::nullopt;
    const bool bigEndian = head.at(EI_DATA) == ELFDATA2MSB;
    const auto half = [&](int at) {
        const auto first = static_cast<unsigned char>(head.at(at));
        const auto second = static_cast<unsigned char>(head.at(at + 1));
        return bigEndian ? first * 256u + second : second * 256u + first;
    };
    return ElfHead{head.at(EI_CLASS) == ELFCLASS64 ? 64 : 32, bigEndian, half(EI_NIDENT),
                   half(EI_NIDENT + 2)};
}

QString machineName(const ElfHead& head)
{
    const struct
    {
        unsigned machine;
        const char* name;
    } known[] = {{EM_386, "x86"},     {EM_X86_64, "x86-64"}, {EM_ARM, "ARM"},   {EM_AARCH64, "AArch64"},
                 {EM_PPC, "PowerPC"}, {EM_PPC64, "PowerPC"}, {EM_MIPS, "MIPS"}, {EM_RISCV, "RISC-V"},
                 {EM_S390, "S/390"},  {EM_SPARCV9, "SPARC"}, {EM_SH, "SuperH"}};
    QString name = QStringLiteral("machine number %1").arg(head.machine);
    for (const auto& entry : known) {
        if (entry.machine == head.machine)
            name = QLatin1String(entry.name);
    }
    return QStringLiteral("%1 (%2-bit, %3-endian)")
        .arg(name)
        .arg(head.bits)
        .arg(head.bigEndian ? QLatin1String("big") : QLatin1String("little"));
}

bool sameMachine(const ElfHead& left, const ElfHead& right)
{
    return left.machine == right.machine && left.bits == right.bits && left.bigEndian == right.bigEndian;
}

/// Whether the file ends before what its program headers say is in it, after a copy that broke off. The
/// loader would crash on such a file. The machine is known to be ours.
bool isCutOff(QFile& file)
{
    ElfW(Ehdr) head;
    ElfW(Phdr) segment;
    file.seek(0);
    if (file.read(reinterpret_cast<char*>(&head), sizeof head) != sizeof head)
        return true;
    for (unsigned i = 0; i < head.e_phnum; ++i) {
        file.seek(static_cast<qint64>(head.e_phoff) + static_cast<qint64>(i * sizeof segment));
        if (file.read(reinterpret_cast<char*>(&segment), sizeof segment) != sizeof segment)
            return true;
        const auto size = static_cast<ElfW(Off)>(file.size());
        if (segment.p_type == PT_LOAD &&
            (segment.p_offset > size || segment.p_filesz > size - segment.p_offset))
            return true;
    }
    return false;
}

QString openingProblem(const QString& fileName, QFile& file)
{
    if (!QFileInfo::exists(fileName))
        return QStringLiteral("driver plug-in %1 does not exist").arg(fileName);
    if (QFileInfo(fileName).isDir())
        return QStringLiteral("driver plug-in %1 is a directory").arg(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("driver plug-in %1 can not be read: %2").arg(fileName, file.errorString());
    return QString();
}

} // namespace

QString sharedLibraryProblem(const QString& fileName)
{
    QFile file(fileName);
    QString problem = openingProblem(fileName, file);
    if (!problem.isEmpty())
        return problem;
    const auto head = readElfHead(file);
    if (!head || head->fileType != ET_DYN)
        return QStringLiteral("driver plug-in %1 is not a shared library").arg(fileName);

    QFile ownProgram(QCoreApplication::applicationFilePath());
    const auto own = ownProgram.open(QIODevice::ReadOnly) ? readElfHead(ownProgram) : std::nullopt;
    if (own && !sameMachine(*head, *own))
        return QStringLiteral("driver plug-in %1 is built for %2, this machine is %3")
            .arg(fileName, machineName(*head), machineName(*own));
    if (isCutOff(file))
        return QStringLiteral("driver plug-in %1 is incomplete, the file is cut off").arg(fileName);
    return QString();
}
