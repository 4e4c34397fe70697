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
    void accessStays_data();
    void accessStays();
    void copyIsNotMoreReadable();
    void oldFileStays();
    void leftoversGo();
    void shownTexts();

private:
    QByteArray name(const char* base) const
    {
        return QFile::encodeName(m_folder->filePath(QLatin1String(base)));
    }
    QByteArray contents(const char* base) const;
    void make(const char* base, const QByteArray& content = "old") const;
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

QByteArray tst_new_file::contents(const char* base) const
{
    QFile file(QFile::decodeName(name(base)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_new_file::make(const char* base, const QByteArray& content) const
{
    QFile file(QFile::decodeName(name(base)));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

void tst_new_file::targets_data()
{
    QTest::addColumn<QByteArray>("linkTo"); ///< what "target" is a link to; empty: nothing is there
    QTest::addColumn<uint>("owner");        ///< of the link
    QTest::addColumn<bool>("fileOnly");
    QTest::addColumn<QString>("error");
    const uint us = ::geteuid();
    QTest::newRow("nothing there") << QByteArray() << us << false << "";
    QTest::newRow("our link") << QByteArray("old") << us << false << "";
    QTest::newRow("our link to nothing yet") << QByteArray("later") << us << false << "";
    QTest::newRow("link to itself") << QByteArray("target") << us << false << "Too many levels";
    QTest::newRow("link to a folder") << QByteArray(".") << us << false << "Is a directory";
    QTest::newRow("link to a full device") << QByteArray("/dev/full") << us << false << "No space left";
    QTest::newRow("our link where none may be") << QByteArray("old") << us << true << "is a link, a device";
    QTest::newRow("pipe where none may be")
        << QByteArray("|") << us << true << "is a link, a device or a pipe";
    if (us == 0) {
        QTest::newRow("another's link")
            << QByteArray("old") << uint(somebody) << false << "is a symbolic link of another user";
        QTest::newRow("another's pipe")
            << QByteArray("|") << uint(somebody) << false << "is a pipe of another user";
    }
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
    NewFile file(QFile::decodeName(target), fileOnly ? FilePlace::FileOnly : FilePlace::AnyTarget);
    file.write("new");
    QCOMPARE(file.commit(), error.isEmpty());
    QVERIFY2(file.error().contains(error) && file.error().isEmpty() == error.isEmpty(),
             qPrintable(file.error()));
    QCOMPARE(contents("old"), QByteArray(error.isEmpty() && linkTo == "old" ? "new" : "old"));
    QVERIFY(!error.isEmpty() || contents("target") == "new");
    QVERIFY(linkTo.isEmpty() || statusOf(target).st_ino == before.st_ino);
}

void tst_new_file::accessStays_data()
{
    QTest::addColumn<uint>("mode");
    for (const uint mode : {0600u, 0640u, 0664u, 0444u})
        QTest::addRow("%o", mode) << mode;
}

void tst_new_file::accessStays()
{
    QFETCH(uint, mode);
    const gid_t group = ::geteuid() == 0 ? somebody : ::getegid();
    QCOMPARE(::chown(name("old").constData(), uid_t(-1), group), 0);
    QCOMPARE(::chmod(name("old").constData(), mode), 0);
    NewFile file(QFile::decodeName(name("old")));
    QVERIFY2(file.write("new") && file.commit(), qPrintable(file.error()));
    QCOMPARE(statusOf(name("old")).st_mode & 07777, mode);
    QCOMPARE(statusOf(name("old")).st_gid, group);
}

void tst_new_file::copyIsNotMoreReadable()
{
    make("secret");
    const gid_t group = ::geteuid() == 0 ? somebody : ::getegid();
    QCOMPARE(::chown(name("secret").constData(), uid_t(-1), group), 0);
    QCOMPARE(::chmod(name("secret").constData(), 0640), 0);
    QCOMPARE(::chmod(name("old").constData(), 0666), 0);
    QFile source(QFile::decodeName(name("secret")));
    QVERIFY(source.open(QIODevice::ReadOnly));
    NewFile file(QFile::decodeName(name("old")));
    file.limitAccess(source.handle());
    QVERIFY2(file.commit(), qPrintable(file.error()));
    QCOMPARE(statusOf(name("old")).st_mode & 0777, 0640u);
    QCOMPARE(statusOf(name("old")).st_gid, group); // not that of the file in its place
}

void tst_new_file::oldFileStays()
{
    {
        NewFile file(QFile::decodeName(name("old")));
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
    NewFile file(QFile::decodeName(name("old")));
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
