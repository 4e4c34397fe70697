#include "harness.h"

#include <QCoreApplication>

static void dropMessage(QtMsgType, const QMessageLogContext&, const QString&)
{
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static QCoreApplication application(*argc, *argv);
    qInstallMessageHandler(dropMessage);
    prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    tryInput(input);
    return 0;
}
