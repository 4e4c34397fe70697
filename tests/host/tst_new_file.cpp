#include "text/json_line.h"
#include "text/new_file.h"
#include "text/shown.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

/// Files that replace others in folders where another user may write too.
class tst_new_file : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void targets_data();
    void targets();
    void access_data();
    void access();
    void oldFileStays();
    void leftoversGo();
    void shownTexts();

private:
    QString path(const char* base) const { return m_folder->filePath(QLatin1String(base)); }
    QByteArray name(const char* base) const { return QFile::encodeName(path(base)); }
    QByteArray contents(const char* base) const
    {
        QFile file(path(base));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void make(const char* base) const
    {
        QFile file(path(base));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("old") == 3);
    }
    QStringList files() const { return QDir(m_folder->path()).entryList(QDir::Files | QDir::System); }

    QScopedPointer<QTemporaryDir> m_folder;
};

namespace {

constexpr uid_t somebody = 12345;

struct stat statusOf(const QByteArray& name)
{
    struct stat status = {};
    ::lstat(name.constData(), &status);
    return status;
}

} // namespace

void tst_new_file::init()
{
    m_folder.reset(new QTemporaryDir);
    make("old");
}

void tst_new_file::targets_data()
{
    QTest::addColumn<QByteArray>("linkTo"); ///< what "target" is a link to; empty: nothing is there
    QTest::addColumn<uint>("owner");        ///< of the link
    QTest::addColumn<bool>("fileOnly");
    QTest::addColumn<QString>("error");
    const uint us = ::geteuid();
    const std::tuple<const char*, const char*, uint, bool, const char*> rows[] = {
        {"nothing there", "", us, false, ""},
        {"our link", "old", us, false, ""},
        {"our link to nothing yet", "later", us, false, ""},
        {"link to itself", "target", us, false, "Too many levels"},
        {"link to a folder", ".", us, false, "Is a directory"},
        {"link to a full device", "/dev/full", us, false, "No space left"},
        {"our link where none may be", "old", us, true, "is a link, a device"},
        {"pipe where none may be", "|", us, true, "is a link, a device or a pipe"},
        {"another's link", "old", somebody, false, "is a symbolic link of another user"},
        {"another's pipe", "|", somebody, false, "is a pipe of another user"}};
    for (const auto& [name, linkTo, owner, fileOnly, error] : rows)
        if (owner == us || us == 0)
            QTest::newRow(name) << QByteArray(linkTo) << owner << fileOnly << error;
}

void tst_new_file::targets()
{
    QFETCH(QByteArray, linkTo);
    QFETCH(uint, owner);
    QFETCH(bool, fileOnly);
    QFETCH(QString, error);
    const QByteArray target = name("target");
    if (linkTo == "|")
        QCOMPARE(::mkfifo(target.constData(), 0666), 0);
    else if (!linkTo.isEmpty())
        QCOMPARE(::symlink(linkTo.constData(), target.constData()), 0);
    QVERIFY(linkTo.isEmpty() || ::lchown(target.constData(), owner, gid_t(-1)) == 0);
    const struct stat before = statusOf(target);
    NewFile file(path("target"), fileOnly ? FilePlace::FileOnly : FilePlace::AnyTarget);
    file.write("new");
    QCOMPARE(file.commit(), error.isEmpty());
    QVERIFY2(file.error().contains(error) && file.error().isEmpty() == error.isEmpty(),
             qPrintable(file.error()));
    QCOMPARE(contents("old"), QByteArray(error.isEmpty() && linkTo == "old" ? "new" : "old"));
    QVERIFY(!error.isEmpty() || contents("target") == "new");
    QVERIFY(linkTo.isEmpty() || statusOf(target).st_ino == before.st_ino);
}

// What a file may be read and written by does not change with its contents, and a copy is not more readable
// than its source; the group is that of the source, not that of the file in its place.
void tst_new_file::access_data()
{
    QTest::addColumn<uint>("oldMode");
    QTest::addColumn<uint>("sourceMode"); ///< 0: it is no copy
    QTest::addColumn<uint>("mode");
    for (const uint mode : {0600u, 0640u, 0664u, 0444u})
        QTest::addRow("%o", mode) << mode << 0u << mode;
    QTest::newRow("copy") << 0666u << 0640u << 0640u;
    if (::geteuid() == 0)
        QTest::newRow("copy, its group locked out") << 0660u << 0640u << 0600u;
}

void tst_new_file::access()
{
    QFETCH(uint, oldMode);
    QFETCH(uint, sourceMode);
    const gid_t group = ::geteuid() == 0 ? somebody : ::getegid();
    make("source");
    QCOMPARE(::chown(name(sourceMode == 0 ? "old" : "source").constData(), uid_t(-1), group), 0);
    QCOMPARE(::chmod(name("old").constData(), oldMode), 0);
    QCOMPARE(::chmod(name("source").constData(), sourceMode), 0);
    NewFile file(path("old"));
    QFile source(path("source"));
    if (sourceMode != 0) {
        QVERIFY(source.open(QIODevice::ReadOnly));
        file.limitAccess(source.handle());
    }
    QVERIFY2(file.write("new") && file.commit(), qPrintable(file.error()));
    QTEST(statusOf(name("old")).st_mode & 07777, "mode");
    QCOMPARE(statusOf(name("old")).st_gid, group);
}

void tst_new_file::oldFileStays()
{
    {
        NewFile file(path("old"));
        QVERIFY(file.write("new"));
        const QStringList now = files();
        QCOMPARE(now.size(), 2);
        QCOMPARE(statusOf(name(qPrintable(now.last()))).st_mode & 0777, 0600u); // whatever the umask is
        QCOMPARE(contents("old"), QByteArray("old"));
    }
    QCOMPARE(files(), QStringList(QStringLiteral("old")));
}

void tst_new_file::leftoversGo()
{
    make("old.new-0123456789abcdef");
    make("old.new-idea");
    make("older.new-0123456789abcdef");
    NewFile file(path("old"));
    file.removeLeftovers();
    QVERIFY2(file.write("new") && file.commit(), qPrintable(file.error()));
    QCOMPARE(files().join(QLatin1Char(' ')), QStringLiteral("old old.new-idea older.new-0123456789abcdef"));
}

void tst_new_file::shownTexts()
{
    QCOMPARE(shown(QString::fromUtf8("a\x1b[2J\n\x7f\xc2\x9b \xe2\x80\xae"
                                     "Öfen 5 °C \\")),
             QString::fromUtf8("a\\x1b[2J\\x0a\\x7f\\x9b \\u202eÖfen 5 °C \\"));
    QString json;
    QTextStream out(&json);
    printJsonLine(out, {{QStringLiteral("a"), QString::fromUtf8("\x1b\xc2\x9b°")}});
    QCOMPARE(json, QString::fromUtf8("{\"a\":\"\\u001b\\u009b°\"}\n"));
}

QTEST_GUILESS_MAIN(tst_new_file)
#include "tst_new_file.moc"
