#include "system/system.h"

#include "support/privatehome.h"
#include "support/standin.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSysInfo>
#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

#ifdef Q_OS_LINUX
#include <sys/personality.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

using Output = QList<QByteArray>;

/// What /bin/sh running @p script writes to its two channels.
Output runShell(const QString& script)
{
    return System::execute({u"/bin/sh"_s, u"-c"_s, script});
}

/// The processor's name as the system's own command tells it.
QByteArray machineName()
{
    QProcess uname;
    uname.start(u"uname"_s, {u"-m"_s});
    uname.waitForFinished();
    return uname.readAllStandardOutput().trimmed();
}

} // namespace

class TestSystem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<PrivateHome>(); }
    void cleanup() { m_home.reset(); }

    void cpuArchitectureNamesTheProcessorFamily();
    void whateverIsNotArm64CountsAsX8664();

    void executeKeepsTheTwoChannelsApart_data();
    void executeKeepsTheTwoChannelsApart();
    void executeHandsBackBytesUndecoded();
    void executeTakesLargeOutputOnBothChannels_data();
    void executeTakesLargeOutputOnBothChannels();
    void executePassesEachArgumentAsItStands_data();
    void executePassesEachArgumentAsItStands();
    void executePassesManyArgumentsInOrder();
    void executeOfAProgramAlonePassesNoArgument();
    void executeLooksTheProgramUpInPath();
    void executeReturnsTwoEmptyTextsIfTheProgramCannotStart_data();
    void executeReturnsTwoEmptyTextsIfTheProgramCannotStart();
    void executeHandsItsEnvironmentAndFolderOn();
    void executeReturnsAsSoonAsTheProgramEnds();
    void executeCallsFromSeveralThreadsShareNothing();

    void qVectorToString_data();
    void qVectorToString();
    void qMapToString_data();
    void qMapToString();

private:
    std::unique_ptr<PrivateHome> m_home;
};

// The processor

void TestSystem::cpuArchitectureNamesTheProcessorFamily()
{
    const QByteArray machine = machineName();
    QVERIFY(!machine.isEmpty());
    const bool isArm64 = machine == "arm64" || machine == "aarch64";
    QCOMPARE(System::cpuArchitecture(), isArm64 ? u"arm64"_s : u"x86_64"_s);
}

void TestSystem::whateverIsNotArm64CountsAsX8664()
{
#ifdef Q_OS_LINUX
    // Under this personality the kernel gives the name of the family's 32-bit processor.
    const int former = personality(PER_LINUX32);
    const QString reported = QSysInfo::currentCpuArchitecture();
    const QString answer = System::cpuArchitecture();
    if (former != -1) {
        personality(static_cast<unsigned long>(former));
    }
    if (reported == "arm64"_L1 || reported == "x86_64"_L1) {
        QSKIP("this system has no other processor name to offer");
    }
    QCOMPARE(answer, u"x86_64"_s);
#else
    QSKIP("only Linux can pretend to have another processor");
#endif
}

// Running a program

void TestSystem::executeKeepsTheTwoChannelsApart_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<Output>("output");

    const auto row = [](const char* what, const QString& script, const Output& output) {
        QTest::newRow(what) << script << output;
    };
    row("nothing printed", u":"_s, {"", ""});
    row("standard output first in the result", u"echo out"_s, {"out\n", ""});
    row("standard error second in the result", u"echo err >&2"_s, {"", "err\n"});
    row("both, in turns", u"echo a; echo b >&2; echo c; echo d >&2"_s, {"a\nc\n", "b\nd\n"});
    row("final line feed is not added", u"printf out; printf err >&2"_s, {"out", "err"});
    row("carriage returns stay", u"printf 'a\\r\\nb\\r'"_s, {"a\r\nb\r", ""});
    row("program that fails", u"echo out; echo err >&2; exit 3"_s, {"out\n", "err\n"});
    row("program that fails silently", u"exit 1"_s, {"", ""});
    row("program that crashes", u"echo out; echo err >&2; kill -KILL $$"_s, {"out\n", "err\n"});
    row("program that closes its channels", u"exec >&- 2>&-; exit 0"_s, {"", ""});
}

void TestSystem::executeKeepsTheTwoChannelsApart()
{
    QFETCH(QString, script);
    QFETCH(Output, output);
    QCOMPARE(runShell(script), output);
}

void TestSystem::executeHandsBackBytesUndecoded()
{
    const QByteArray bytes("a\0b\xC3\xA9\xFF\xFE\x80\x1A\r\n", 11);
    const StandIns standIns;
    standIns.addPrinting(u"find"_s, bytes);
    QCOMPARE(System::execute({u"find"_s}), Output({bytes, ""}));
}

void TestSystem::executeTakesLargeOutputOnBothChannels_data()
{
    QTest::addColumn<QString>("script");

    QTest::newRow("standard output first") << u"out; err"_s;
    QTest::newRow("standard error first") << u"err; out"_s;
    QTest::newRow("both at once") << u"err & out; wait"_s;
}

void TestSystem::executeTakesLargeOutputOnBothChannels()
{
    QFETCH(QString, script);
    // More than any pipe holds, so that a channel nobody reads would stop the program.
    const QString functions = u"out() { head -c 3000000 /dev/zero | tr '\\0' o; }\n"
                              "err() { head -c 2000000 /dev/zero | tr '\\0' e >&2; }\n"_s;
    const Output output = runShell(functions + script);
    QCOMPARE(output.size(), 2);
    // Compared by VERIFY: a failure shall not print megabytes.
    QVERIFY(output[0] == QByteArray(3'000'000, 'o'));
    QVERIFY(output[1] == QByteArray(2'000'000, 'e'));
}

void TestSystem::executePassesEachArgumentAsItStands_data()
{
    QTest::addColumn<QString>("argument");

    const auto row = [](const char* what, const QString& argument) {
        QTest::newRow(what) << argument;
    };
    row("plain", u"Foo.app"_s);
    row("empty", u""_s);
    row("blank inside", u"My Application.app"_s);
    row("only blanks", u"   "_s);
    row("blanks around", u" a "_s);
    row("double quotes", u"say \"hello\" now"_s);
    row("a double quote alone", u"\""_s);
    row("two double quotes", u"\"\""_s);
    row("three double quotes", u"\"\"\""_s);
    row("single quotes", u"kMDItemFSName == '*.app'"_s);
    row("backslashes", u"a\\b\\\\c\\"_s);
    row("pattern", u"*.app"_s);
    row("tilde", u"~"_s);
    row("variable", u"$HOME ${HOME}"_s);
    row("command substitution", u"$(echo x) `echo y`"_s);
    row("shell operators", u"a; b && c | d > e < f &"_s);
    row("line feed and tab", u"a\nb\tc"_s);
    row("percent signs", u"%1 %s %%"_s);
    row("option", u"-n"_s);
    row("accents", u"Éditeur"_s);
    row("outside the basic plane", u"\U0001F600"_s);
}

void TestSystem::executePassesEachArgumentAsItStands()
{
    QFETCH(QString, argument);
    const StandIns standIns;
    standIns.add(u"find"_s, "printf '%s\\0' \"$#\" \"$@\"\n");
    const QByteArray passed = argument.toUtf8() + '\0';
    const QByteArray zero(1, '\0');
    QCOMPARE(System::execute({u"find"_s, argument}), Output({'1' + zero + passed, ""}));
    QCOMPARE(System::execute({u"find"_s, u"a"_s, argument, u"z"_s}),
             Output({'3' + zero + 'a' + zero + passed + 'z' + zero, ""}));
}

void TestSystem::executePassesManyArgumentsInOrder()
{
    QStringList command = {u"printf"_s, u"%s,"_s};
    QByteArray expected;
    for (int i = 0; i < 500; ++i) {
        command.append(QString::number(i));
        expected += QByteArray::number(i) + ',';
    }
    QCOMPARE(System::execute(command), Output({expected, ""}));
}

void TestSystem::executeOfAProgramAlonePassesNoArgument()
{
    const StandIns standIns;
    standIns.add(u"find"_s, "echo $#\n");
    QCOMPARE(System::execute({u"find"_s}), Output({"0\n", ""}));
}

void TestSystem::executeLooksTheProgramUpInPath()
{
    {
        const StandIns standIns;
        standIns.add(u"mdfind"_s, "echo first in PATH\n");
        QCOMPARE(System::execute({u"mdfind"_s}), Output({"first in PATH\n", ""}));
    }
    const StandIns others;
    others.add(u"mdfind"_s, "echo looked up anew\n");
    QCOMPARE(System::execute({u"mdfind"_s}), Output({"looked up anew\n", ""}));
}

void TestSystem::executeReturnsTwoEmptyTextsIfTheProgramCannotStart_data()
{
    QTest::addColumn<QString>("program");

    QTest::newRow("not in PATH") << u"no-such-program-anywhere"_s;
    QTest::newRow("no such file") << u"/no/such/program"_s;
    QTest::newRow("a folder") << u"/"_s;
    QTest::newRow("a file that is no program") << u"HOME/list.txt"_s;
    QTest::newRow("name with its argument behind a blank") << u"echo out"_s;
}

void TestSystem::executeReturnsTwoEmptyTextsIfTheProgramCannotStart()
{
    QFETCH(QString, program);
    m_home->write(u"list.txt"_s, "echo out\n");
    QElapsedTimer timer;
    timer.start();
    const QString path = program.replace("HOME"_L1, m_home->path());
    QCOMPARE(System::execute({path, u"an argument"_s}), Output({"", ""}));
    QVERIFY2(timer.elapsed() < 10'000, "waited although nothing could start");
}

void TestSystem::executeHandsItsEnvironmentAndFolderOn()
{
    qputenv("QUILLMERE_TEST_VARIABLE", "inherited");
    const QString formerFolder = QDir::currentPath();
    QDir::setCurrent(m_home->path());
    const QString folder = QDir::currentPath();
    const Output output = runShell(u"echo \"$QUILLMERE_TEST_VARIABLE\"; pwd -P; echo \"$HOME\""_s);
    QDir::setCurrent(formerFolder);
    qunsetenv("QUILLMERE_TEST_VARIABLE");
    QCOMPARE(output.constFirst(),
             "inherited\n" + folder.toLocal8Bit() + '\n' + m_home->path().toLocal8Bit() + '\n');
}

void TestSystem::executeReturnsAsSoonAsTheProgramEnds()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(runShell(u"sleep 0.2; echo late"_s), Output({"late\n", ""}));
    QVERIFY2(timer.elapsed() >= 200, "did not wait for the program's end");
    QVERIFY2(timer.elapsed() < 10'000, "waited beyond the program's end");
}

void TestSystem::executeCallsFromSeveralThreadsShareNothing()
{
    constexpr int threadCount = 4;
    constexpr int runs = 5;
    std::vector<Output> outputs(threadCount);
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < threadCount; ++i) {
        Output& output = outputs[static_cast<std::size_t>(i)];
        threads.emplace_back(QThread::create([i, &output] {
            for (int run = 0; run < runs; ++run) {
                output += runShell(u"echo out %1; echo err %1 >&2"_s.arg(i));
            }
        }));
        threads.back()->start();
    }
    for (int i = 0; i < threadCount; ++i) {
        threads[static_cast<std::size_t>(i)]->wait();
        const QByteArray number = QByteArray::number(i);
        Output expected;
        for (int run = 0; run < runs; ++run) {
            expected += {"out " + number + '\n', "err " + number + '\n'};
        }
        QCOMPARE(outputs[static_cast<std::size_t>(i)], expected);
    }
}

// Texts for the log

void TestSystem::qVectorToString_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("text");

    const auto row = [](const char* what, const QStringList& list, const QString& separator,
                        const QString& text) { QTest::newRow(what) << list << separator << text; };
    row("two elements", {u"a"_s, u"b"_s}, u", "_s, u"a, b\n"_s);
    row("one element", {u"a"_s}, u", "_s, u"a\n"_s);
    row("list order, not sorted", {u"c"_s, u"a"_s, u"b"_s}, u", "_s, u"c, a, b\n"_s);
    row("empty list", {}, u", "_s, u"\n"_s);
    row("separator of one character", {u"a"_s, u"b"_s}, u";"_s, u"a;\n"_s);
    row("separator of three characters", {u"a"_s, u"b"_s}, u" - "_s, u"a - b \n"_s);
    row("no separator", {u"abc"_s, u"def"_s}, u""_s, u"abcd\n"_s);
    row("less than two characters in all", {u"a"_s}, u""_s, u"\n"_s);
    row("one empty element", {u""_s}, u", "_s, u"\n"_s);
    row("empty elements are kept", {u""_s, u""_s, u"b"_s}, u", "_s, u", , b\n"_s);
    row("accents", {u"é"_s, u"→"_s}, u", "_s, u"é, →\n"_s);
}

void TestSystem::qVectorToString()
{
    QFETCH(QStringList, list);
    QFETCH(QString, separator);
    QFETCH(QString, text);
    QCOMPARE(System::qVectorToString(list, separator), text);
}

void TestSystem::qMapToString_data()
{
    using Map = QMap<QString, QString>;
    QTest::addColumn<Map>("map");
    QTest::addColumn<QString>("text");

    const auto row = [](const char* what, const Map& map, const QString& text) {
        QTest::newRow(what) << map << text;
    };
    row("keys in ascending order", {{u"Version"_s, u"1.2"_s}, {u"Kind"_s, u"Universal"_s}},
        u"(Kind = Universal) (Version = 1.2) "_s);
    row("one key", {{u"Kind"_s, u"Universal"_s}}, u"(Kind = Universal) "_s);
    row("empty map", {}, u""_s);
    row("capitals before small letters", {{u"a"_s, u"1"_s}, {u"B"_s, u"2"_s}, {u"b"_s, u"3"_s}},
        u"(B = 2) (a = 1) (b = 3) "_s);
    row("accents behind all plain letters", {{u"é"_s, u"1"_s}, {u"z"_s, u"2"_s}},
        u"(z = 2) (é = 1) "_s);
    row("empty value", {{u"Kind"_s, u""_s}}, u"(Kind = ) "_s);
    row("empty key", {{u""_s, u"1"_s}}, u"( = 1) "_s);
    row("brackets and signs are not escaped", {{u"a)"_s, u"(1 = 2) %1"_s}},
        u"(a) = (1 = 2) %1) "_s);
}

void TestSystem::qMapToString()
{
    using Map = QMap<QString, QString>;
    QFETCH(Map, map);
    QFETCH(QString, text);
    QCOMPARE(System::qMapToString(map), text);
}

QTEST_GUILESS_MAIN(TestSystem)
#include "tst_system.moc"
