#include "watch/gnuplot.h"

#include "text/shown.h"

#include <QProcess>
#include <QStandardPaths>

namespace {

constexpr int longestRun = 120000; ///< milliseconds

} // namespace

QString gnuplotString(const QString& text)
{
    QString string;
    bool followsCode = false; // which following digits would continue
    for (const QChar character : shown(text)) {
        const bool isPlain = character.unicode() > 126 || character.isLetter() ||
                             character == QLatin1Char(' ') || (character.isDigit() && !followsCode);
        string += isPlain ? QString(character)
                          : QStringLiteral("\\%1").arg(character.unicode(), 3, 8, QLatin1Char('0'));
        followsCode = !isPlain;
    }
    return QLatin1Char('"') + string + QLatin1Char('"');
}

QString gnuplotTicLabel(QString text)
{
    return gnuplotString(text.replace(QLatin1Char('%'), QLatin1String("%%")));
}

QByteArray runGnuplot(const QByteArray& script, QString& error)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("gnuplot"));
    if (program.isEmpty()) {
        error =
            QStringLiteral("gnuplot, which draws the charts, is not installed; Debian has it in the package "
                           "gnuplot-nox");
        return QByteArray();
    }
    QProcess process;
    process.start(program, {QStringLiteral("-d"), QStringLiteral("-")}); // no user's settings
    process.write(script);
    process.closeWriteChannel();
    const bool ended = process.waitForFinished(longestRun);
    QByteArray picture = process.readAllStandardOutput();
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0 &&
        !picture.isEmpty())
        return picture;
    const QString said = QString::fromLocal8Bit(process.readAllStandardError()).simplified();
    error = QStringLiteral("gnuplot failed: %1").arg(said.isEmpty() ? process.errorString() : said);
    return QByteArray();
}
