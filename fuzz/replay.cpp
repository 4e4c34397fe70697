// Stands in for libFuzzer where there is none: tries every named file, and every file in a named folder,
// once. Prints each name before its try, so the last name printed is the one that failed.

#include "harness.h"

#include <QDirIterator>

#include <cstdio>

static bool replay(const QString& name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll();
    std::printf("%s\n", qPrintable(QFileInfo(name).fileName()));
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                           static_cast<std::size_t>(bytes.size()));
    return true;
}

int main(int argc, char** argv)
{
    QStringList files;
    for (int i = 1; i < argc; ++i) {
        const QString place = QFile::decodeName(argv[i]);
        QDirIterator folder(place, QDir::Files, QDirIterator::Subdirectories);
        while (folder.hasNext())
            files += folder.next();
        if (!QFileInfo(place).isDir())
            files += place;
    }
    files.sort();
    if (files.isEmpty()) {
        std::fprintf(stderr, "%s: nothing to replay; name files or folders of inputs\n", argv[0]);
        return 2;
    }

    LLVMFuzzerInitialize(&argc, &argv);
    for (const QString& file : qAsConst(files)) {
        if (!replay(file)) {
            std::fprintf(stderr, "%s: cannot read %s\n", argv[0], qPrintable(file));
            return 1;
        }
    }
    return 0;
}
