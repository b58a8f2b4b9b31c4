#include "app/debug.h"

#include "support/limits.h"
#include "support/privatehome.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <time.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

struct ConsoleMessage
{
    QtMsgType type;
    QByteArray category;
    QString text;
};

/// Keeps what reaches Qt's message output, from any thread, for as long as the object lives.
class Console
{
public:
    Console() : m_former(qInstallMessageHandler(&Console::take))
    {
        const QMutexLocker locker(&s_mutex);
        s_messages.clear();
    }
    ~Console() { qInstallMessageHandler(m_former); }
    Q_DISABLE_COPY_MOVE(Console)

    [[nodiscard]] static QList<ConsoleMessage> messages()
    {
        const QMutexLocker locker(&s_mutex);
        return s_messages;
    }
    /// The messages without their times: "[INFO] Saving...".
    [[nodiscard]] static QStringList lines()
    {
        QStringList lines;
        for (const ConsoleMessage& message : messages()) {
            lines.append(message.text.section(u' ', 1));
        }
        return lines;
    }

private:
    static void take(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        const QMutexLocker locker(&s_mutex);
        s_messages.append({type, context.category, text});
    }

    QtMessageHandler m_former;
    static inline QMutex s_mutex;
    static inline QList<ConsoleMessage> s_messages;
};

/// The log's bytes below the header.
QByteArray bytesBelowHeader(const PrivateHome& home)
{
    const QByteArray log = PrivateHome::read(home.logPath());
    return log.mid(log.indexOf('\n') + 1);
}

/// Each byte as one character, so that a pattern can say bytes.
QString asBytes(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes);
}

/// What the heap has given away; 0 where nobody can tell.
size_t allocatedBytes()
{
#ifdef __GLIBC__
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#else
    return 0;
#endif
}

QDateTime nowInWholeSeconds()
{
    return QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch());
}

} // namespace

class TestDebug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void hasNoPathBeforeItsStart();
    void beforeItsStartLinesReachTheConsoleOnly();
    void namesItsLevelsAndItsStamp();

    void startCreatesTheFolderWithItsParents();
    void startWritesTheHeaderAlone();
    void headerTellsTheLocalTime();
    void startEmptiesTheFile_data();
    void startEmptiesTheFile();
    void twoStartsKeepOnlyTheSecond();

    void writesALineOfEachLevel_data();
    void writesALineOfEachLevel();
    void aLineIsStampedWithTheLocalTimeOfItsBeginning();
    void theStampGoesOnWithTheClock();
    void aLineWithoutTextStillHasStampAndLevel();
    void aLineIsWrittenWhenItsObjectEnds();
    void aLineIsInTheFileAtOnce();
    void linesKeepTheirOrder();
    void textIsWrittenAsItStands_data();
    void textIsWrittenAsItStands();
    void takesWhateverATextStreamTakes();
    void numbersHaveSixSignificantDigits_data();
    void numbersHaveSixSignificantDigits();
    void theConsoleGetsDebugMessagesOfTheDefaultCategory();

    void withoutAFileItStillHasAPathAndAConsole_data();
    void withoutAFileItStillHasAPathAndAConsole();

    void afterAFullDiskLinesAreWrittenAgain_data();
    void afterAFullDiskLinesAreWrittenAgain();
    void linesForAFullDiskDoNotPileUp();
    void linesOfManyThreadsStayWhole();

private:
    QString m_pathBeforeStart;
    QStringList m_consoleBeforeStart;
    QStringList m_filesBeforeStart;
    std::optional<PrivateHome> m_home;
};

void TestDebug::initTestCase()
{
    // Far from UTC, so that the two cannot be taken for each other.
    qputenv("TZ", "TST-5:45");
    tzset();

    // Whether the log was ever started is the process's state: only here it is still untouched.
    const PrivateHome home;
    const Console console;
    m_pathBeforeStart = Debug::logFilePath();
    Debug(Debug::Error) << "early";
    m_consoleBeforeStart = Console::lines();
    m_filesBeforeStart =
        QDir(home.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void TestDebug::init()
{
    m_home.emplace();
}

void TestDebug::cleanup()
{
    m_home.reset();
}

void TestDebug::hasNoPathBeforeItsStart()
{
    QCOMPARE(m_pathBeforeStart, QString());
}

void TestDebug::beforeItsStartLinesReachTheConsoleOnly()
{
    QCOMPARE(m_consoleBeforeStart, QStringList{u"[ERROR] early"_s});
    QCOMPARE(m_filesBeforeStart, QStringList());
}

void TestDebug::namesItsLevelsAndItsStamp()
{
    QCOMPARE(Debug::LEVEL, (QStringList{u"ERROR"_s, u"WARNING"_s, u"INFO"_s, u"DEBUG"_s}));
    QCOMPARE(Debug::VERSION, u"25.128-1530"_s);
}

void TestDebug::startCreatesTheFolderWithItsParents()
{
    QVERIFY(!QFileInfo::exists(m_home->path() + u"/Library"_s));
    Debug::init();
    QCOMPARE(Debug::logFilePath(), m_home->path() + u"/Library/Quillmere/quillmere.log"_s);
    QVERIFY(QFileInfo(Debug::logFilePath()).isFile());
}

void TestDebug::startWritesTheHeaderAlone()
{
    Debug::init();
    const QString log = asBytes(PrivateHome::read(m_home->logPath()));
    // The em dash is three bytes in UTF-8.
    static const QRegularExpression header(
        u"\\A=== Quillmere 26\\.3\\.0 \u00e2\u0080\u0094 "
        "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} ===\n\\z"_s);
    QVERIFY2(header.match(log).hasMatch(), qUtf8Printable(log));
}

void TestDebug::headerTellsTheLocalTime()
{
    const QDateTime before = nowInWholeSeconds();
    QCOMPARE(before.offsetFromUtc(), (5 * 60 + 45) * 60);
    Debug::init();
    const QDateTime after = nowInWholeSeconds();

    const QString log = QString::fromUtf8(PrivateHome::read(m_home->logPath()));
    const QString time = log.section(u' ', 4, 5);
    const QDateTime stamp = QDateTime::fromString(time, u"yyyy-MM-dd HH:mm:ss"_s);
    QVERIFY2(before <= stamp && stamp <= after, qUtf8Printable(log));
}

void TestDebug::startEmptiesTheFile_data()
{
    QTest::addColumn<QByteArray>("former");
    QTest::newRow("an earlier run's log")
        << QByteArray("=== Quillmere 26.2.0 ===\n2026-01-02T03:04:05 [INFO] old\n");
    QTest::newRow("a log longer than the new one") << QByteArray(100000, 'x');
    QTest::newRow("an empty file") << QByteArray();
}

void TestDebug::startEmptiesTheFile()
{
    QFETCH(QByteArray, former);
    m_home->write(u"Library/Quillmere/quillmere.log"_s, former);
    Debug::init();
    const QByteArray log = PrivateHome::read(m_home->logPath());
    QVERIFY2(log.startsWith("=== Quillmere 26.3.0 "), log.left(80).constData());
    QCOMPARE(log.count('\n'), 1);
    QVERIFY(log.endsWith(" ===\n"));
}

void TestDebug::twoStartsKeepOnlyTheSecond()
{
    Debug::init();
    Debug(Debug::Info) << "first run";
    Debug::init();
    Debug(Debug::Info) << "second run";
    QCOMPARE(m_home->logLines(), QStringList{u"[INFO] second run"_s});
    QCOMPARE(PrivateHome::read(m_home->logPath()).count("==="), 2);
}

void TestDebug::writesALineOfEachLevel_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("inFile");
    QTest::newRow("0 is an error") << 0 << u"[ERROR] text"_s << true;
    QTest::newRow("1 is a warning") << 1 << u"[WARNING] text"_s << true;
    QTest::newRow("2 is information") << 2 << u"[INFO] text"_s << true;
    QTest::newRow("3 never reaches the file") << 3 << u"[DEBUG] text"_s << false;
}

void TestDebug::writesALineOfEachLevel()
{
    QFETCH(int, level);
    QFETCH(QString, line);
    QFETCH(bool, inFile);
    Debug::init();
    const Console console;
    Debug(level) << "text";
    QCOMPARE(Console::lines(), QStringList{line});
    QCOMPARE(m_home->logLines(), inFile ? QStringList{line} : QStringList());
}

void TestDebug::aLineIsStampedWithTheLocalTimeOfItsBeginning()
{
    Debug::init();
    const Console console;
    const QDateTime before = nowInWholeSeconds();
    QDateTime after;
    {
        Debug line(Debug::Info);
        after = nowInWholeSeconds();
        // The line ends in a later second than it began.
        QTRY_VERIFY_WITH_TIMEOUT(nowInWholeSeconds() > after, 3000);
        line << "Config - CSV: apps.csv";
    }

    const QString text = asBytes(bytesBelowHeader(*m_home));
    static const QRegularExpression form(
        u"\\A([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}) "
        "\\[INFO\\] Config - CSV: apps\\.csv\n\\z"_s);
    const QRegularExpressionMatch match = form.match(text);
    QVERIFY2(match.hasMatch(), qUtf8Printable(text));
    const QDateTime stamp = QDateTime::fromString(match.captured(1), Qt::ISODate);
    QVERIFY2(before <= stamp && stamp <= after, qUtf8Printable(text));
    QCOMPARE(Console::messages().constFirst().text + u'\n', text);
}

void TestDebug::theStampGoesOnWithTheClock()
{
    const Console console;
    const auto stampOfALine = [] {
        Debug(Debug::Info) << "a line";
        return Console::messages().constLast().text.section(u' ', 0, 0);
    };
    const QString first = stampOfALine();
    QTRY_COMPARE_GT_WITH_TIMEOUT(stampOfALine(), first, 3'000);
}

void TestDebug::aLineWithoutTextStillHasStampAndLevel()
{
    Debug::init();
    const Console console;
    (void)Debug(Debug::Warning);
    const QString text = asBytes(bytesBelowHeader(*m_home));
    static const QRegularExpression form(u"\\A[-0-9]{10}T[:0-9]{8} \\[WARNING\\] \n\\z"_s);
    QVERIFY2(form.match(text).hasMatch(), qUtf8Printable(text));
    QCOMPARE(Console::messages().size(), 1);
    QCOMPARE(Console::messages().constFirst().text + u'\n', text);
}

void TestDebug::aLineIsWrittenWhenItsObjectEnds()
{
    Debug::init();
    const Console console;
    {
        Debug line(Debug::Info);
        line << "one, ";
        line << "two";
        QCOMPARE(Console::lines(), QStringList());
        QCOMPARE(m_home->logLines(), QStringList());
    }
    QCOMPARE(Console::lines(), QStringList{u"[INFO] one, two"_s});
    QCOMPARE(m_home->logLines(), QStringList{u"[INFO] one, two"_s});
}

void TestDebug::aLineIsInTheFileAtOnce()
{
    Debug::init();
    Debug(Debug::Info) << "not left in a buffer";
    const QByteArray text = bytesBelowHeader(*m_home);
    QVERIFY2(text.endsWith(" [INFO] not left in a buffer\n"), text.constData());
}

void TestDebug::linesKeepTheirOrder()
{
    Debug::init();
    const Console console;
    Debug(Debug::Info) << "a";
    Debug(Debug::Verbose) << "b";
    Debug(Debug::Error) << "c";
    QCOMPARE(Console::lines(), (QStringList{u"[INFO] a"_s, u"[DEBUG] b"_s, u"[ERROR] c"_s}));
    QCOMPARE(m_home->logLines(), (QStringList{u"[INFO] a"_s, u"[ERROR] c"_s}));
}

void TestDebug::textIsWrittenAsItStands_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("quotes and backslashes") << u"say \"a\\b\" 'c'"_s;
    QTest::newRow("blanks at both ends") << u"  a  "_s;
    QTest::newRow("tabs and line feeds inside") << u"a:\n\t    \"b\" => \"c\""_s;
    QTest::newRow("placeholders") << u"100% %1 %2 %s %n"_s;
    QTest::newRow("accents, arrows, dashes") << u"Téléchargement — ⤓ → …"_s;
    QTest::newRow("beyond the first plane") << u"😀"_s;
    QTest::newRow("a long line") << QString(5000, u'é');
}

void TestDebug::textIsWrittenAsItStands()
{
    QFETCH(QString, text);
    Debug::init();
    const Console console;
    Debug(Debug::Info) << text;
    const QString line = "[INFO] "_L1 + text;
    QCOMPARE(bytesBelowHeader(*m_home).mid(20), line.toUtf8() + '\n');
    QCOMPARE(Console::lines(), QStringList{line});
}

void TestDebug::takesWhateverATextStreamTakes()
{
    Debug::init();
    Debug(Debug::Info) << "literal é " << u"string é "_s << QStringView(u"view ") << "latin1 "_L1
                       << QByteArray("bytes ") << 'c' << QChar(u'é') << ' ' << -42 << ' '
                       << qint64(9876543210) << ' ' << Qt::hex << 255;
    QCOMPARE(m_home->logLines(),
             QStringList{u"[INFO] literal é string é view latin1 bytes cé -42 9876543210 ff"_s});
}

void TestDebug::numbersHaveSixSignificantDigits_data()
{
    QTest::addColumn<double>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("rounded") << 3.14159265 << u"3.14159"_s;
    QTest::newRow("rounded up") << 2.7182818 << u"2.71828"_s;
    QTest::newRow("no needless zeros") << 0.5 << u"0.5"_s;
    QTest::newRow("whole") << 1200.0 << u"1200"_s;
    QTest::newRow("large") << 1234567.0 << u"1.23457e+06"_s;
    QTest::newRow("small") << 0.00001234567 << u"1.23457e-05"_s;
    QTest::newRow("negative") << -12.3456789 << u"-12.3457"_s;
}

void TestDebug::numbersHaveSixSignificantDigits()
{
    QFETCH(double, number);
    QFETCH(QString, text);
    Debug::init();
    Debug(Debug::Info) << number;
    QCOMPARE(m_home->logLines(), QStringList{u"[INFO] "_s + text});
}

void TestDebug::theConsoleGetsDebugMessagesOfTheDefaultCategory()
{
    Debug::init();
    const Console console;
    for (int level = Debug::Error; level <= Debug::Verbose; ++level) {
        Debug(level) << "text";
    }
    QCOMPARE(Console::messages().size(), 4);
    for (const ConsoleMessage& message : Console::messages()) {
        QCOMPARE(message.type, QtDebugMsg);
        QCOMPARE(message.category, QByteArray("default"));
    }
}

void TestDebug::withoutAFileItStillHasAPathAndAConsole_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("file");
    QTest::newRow("a folder in place of the log file")
        << u"Library/Quillmere/quillmere.log"_s << QString();
    QTest::newRow("a file in place of the folder") << u"Library"_s << u"Library/Quillmere"_s;
    QTest::newRow("a file in place of the folder above") << QString() << u"Library"_s;
}

void TestDebug::withoutAFileItStillHasAPathAndAConsole()
{
    QFETCH(QString, folder);
    QFETCH(QString, file);
    if (!folder.isEmpty()) {
        QVERIFY(QDir(m_home->path()).mkpath(folder));
    }
    const QString blocker = file.isEmpty() ? QString() : m_home->write(file, "in the way");

    const Console console;
    Debug::init();
    QVERIFY2(Console::messages().isEmpty(), "the failure is to be silent");
    QCOMPARE(Debug::logFilePath(), m_home->path() + u"/Library/Quillmere/quillmere.log"_s);
    Debug(Debug::Error) << "text";
    QCOMPARE(Console::lines(), QStringList{u"[ERROR] text"_s});

    QVERIFY(!QFileInfo(m_home->logPath()).isFile());
    if (!blocker.isEmpty()) {
        QCOMPARE(PrivateHome::read(blocker), QByteArray("in the way"));
    }
}

void TestDebug::afterAFullDiskLinesAreWrittenAgain_data()
{
    QTest::addColumn<int>("lost"); ///< lines while the disk is full
    QTest::addColumn<int>("length");

    QTest::newRow("after one line") << 1 << 10;
    QTest::newRow("after many lines") << 5'000 << 10;
    QTest::newRow("after a long line") << 1 << 100'000;
    QTest::newRow("after long lines") << 10 << 20'000;
}

void TestDebug::afterAFullDiskLinesAreWrittenAgain()
{
    QFETCH(int, lost);
    QFETCH(int, length);
    Debug::init();
    const QString filler(length, u'x');
    {
        // Console: else thousands of lines would hide what the test says.
        const Console console;
        // Room for the beginning of a line only.
        const SmallFiles full(rlim_t(QFileInfo(Debug::logFilePath()).size()) + 7);
        for (int i = 0; i < lost; ++i) {
            Debug(Debug::Info) << filler << " end";
        }
        QCOMPARE(Console::messages().size(), lost);
    }
    const Console console;
    for (int i = 0; i < 3; ++i) {
        Debug(Debug::Info) << "there is room again " << i;
        const QStringList lines = m_home->logLines();
        QVERIFY(!lines.isEmpty());
        QCOMPARE(lines.constLast(), u"[INFO] there is room again %1"_s.arg(i));
    }
}

void TestDebug::linesForAFullDiskDoNotPileUp()
{
    if (allocatedBytes() == 0) {
        QSKIP("nobody tells what is allocated here");
    }
    Debug::init();
    const auto write = [](int lines) {
        for (int i = 0; i < lines; ++i) {
            Debug(Debug::Info) << "eighty bytes or so, which nobody can keep for ever and a day";
        }
    };
    const QtMessageHandler former =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    std::optional<SmallFiles> full(std::in_place, rlim_t(QFileInfo(Debug::logFilePath()).size()));
    write(1'000); // whatever is kept at all
    const size_t before = allocatedBytes();
    write(100'000);
    const size_t after = allocatedBytes();
    full.reset();
    qInstallMessageHandler(former);
    QVERIFY2(after < before + 10'000, qPrintable(QString::number(after - before)));
}

void TestDebug::linesOfManyThreadsStayWhole()
{
    constexpr int threadCount = 8;
    constexpr int linesEach = 1000;
    const auto textOf = [](int thread, int number) {
        const QString filler(1 + (number * 37 + thread) % 300, QChar(u'a' + thread));
        return u"%1 %2 %3 end"_s.arg(thread).arg(number).arg(filler);
    };

    Debug::init();
    // The console takes no lock here: nothing but the log itself keeps the threads apart.
    static std::atomic_int onConsole;
    onConsole = 0;
    const QtMessageHandler former = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { ++onConsole; });

    std::vector<std::unique_ptr<QThread>> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back(QThread::create([thread, &textOf] {
            for (int number = 0; number < linesEach; ++number) {
                const QString text = textOf(thread, number);
                Debug(Debug::Info) << text.left(5) << text.mid(5);
            }
        }));
    }
    for (const auto& thread : threads) {
        thread->start();
    }
    for (const auto& thread : threads) {
        thread->wait();
    }
    qInstallMessageHandler(former);

    const QStringList lines = m_home->logLines();
    QCOMPARE(lines.size(), threadCount * linesEach);
    QList<int> next(threadCount, 0);
    for (const QString& line : lines) {
        const int thread = line.section(u' ', 1, 1).toInt();
        QVERIFY2(0 <= thread && thread < threadCount, qUtf8Printable(line));
        QCOMPARE(line, u"[INFO] "_s + textOf(thread, next[thread]++));
    }
    QCOMPARE(next, QList<int>(threadCount, linesEach));
    QCOMPARE(onConsole.load(), threadCount * linesEach);
}

QTEST_GUILESS_MAIN(TestDebug)
#include "tst_debug.moc"
