#include "companion/report/commandline.h"

#include "commandrun.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A command with one of each kind of option, which prints what it was asked.
int runSample(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(u"sample"_s, u"Does nothing."_s);
    line.addArgument(u"FILE"_s, u"A file."_s);
    line.addShared(CommandLine::Separator | CommandLine::Published | CommandLine::Strict |
                   CommandLine::Json);
    line.addSwitch(u"own"_s, u"An option of its own."_s);
    line.addPlace(u"folder"_s, u"Where it looks."_s, u"FOLDER"_s);
    line.addEnd(u"list"_s, u"List and end."_s);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    out << "files=" << line.arguments().join(u'+') << " separator=" << line.separator()
        << " published=" << line.published() << " folder=" << line.value(u"folder"_s);
    for (const auto& [name, isOn] :
         {std::pair("strict", line.isStrict()), std::pair("json", line.isJson()),
          std::pair("own", line.isSet(u"own"_s)), std::pair("list", line.isSet(u"list"_s))}) {
        out << (isOn ? " " : "") << (isOn ? name : "");
    }
    return SomethingFound;
}

int runRepeated(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(u"repeated"_s, u"Does nothing."_s);
    line.addArgument(u"FILE..."_s, u"Files."_s, true);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    out << line.arguments().join(u'+');
    return NothingFound;
}

} // namespace

/// How every command reads its arguments.
class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsOptions_data();
    void readsOptions();
    void refusesWrongUsageInOneLine_data();
    void refusesWrongUsageInOneLine();
    void explainsItself_data();
    void explainsItself();
    void takesAsManyArgumentsAsTheCommandDoes();
    void failureIsOneLine();
};

void TestCommandLine::readsOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("read");

    const auto row = [](const char* what, const QStringList& arguments, const QString& read) {
        QTest::newRow(what) << arguments << read;
    };
    row("nothing but an argument", {u"a"_s}, u"files=a separator=, published= folder="_s);
    row("separator", {u"--separator"_s, u";"_s, u"a"_s},
        u"files=a separator=; published= folder="_s);
    row("a tabulator's name", {u"a"_s, u"--separator=\\t"_s},
        u"files=a separator=\t published= folder="_s);
    row("a tabulator", {u"a"_s, u"--separator"_s, u"\t"_s},
        u"files=a separator=\t published= folder="_s);
    row("several characters", {u"a"_s, u"--separator"_s, u"\\t::"_s},
        u"files=a separator=\\t:: published= folder="_s);
    row("places", {u"--published"_s, u"old"_s, u"a"_s, u"--folder"_s, u"f"_s},
        u"files=a separator=, published=old folder=f"_s);
    row("switches", {u"--json"_s, u"--own"_s, u"a"_s, u"--strict"_s},
        u"files=a separator=, published= folder= strict json own"_s);
    row("an argument that looks like an option", {u"--"_s, u"--json"_s},
        u"files=--json separator=, published= folder="_s);
    row("an end without an argument", {u"--list"_s},
        u"files= separator=, published= folder= list"_s);
}

void TestCommandLine::readsOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, read);
    const CommandRun sample = run(runSample, QStringList{u"sample"_s} + arguments);
    QCOMPARE(sample.err, QString());
    QCOMPARE(sample.out, read);
    QCOMPARE(sample.status, int(SomethingFound));
}

void TestCommandLine::refusesWrongUsageInOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");

    const auto row = [](const char* what, const QStringList& arguments, const QString& reason) {
        QTest::newRow(what) << arguments << reason;
    };
    row("no argument", {}, u"an argument is missing"_s);
    row("two arguments", {u"a"_s, u"b"_s}, u"unexpected argument 'b'"_s);
    row("unknown option", {u"--colour"_s, u"a"_s}, u"unknown option 'colour'"_s);
    row("unknown letter", {u"-x"_s, u"a"_s}, u"unknown option 'x'"_s);
    row("no value", {u"a"_s, u"--folder"_s}, u"missing value after '--folder'"_s);
    row("a value too many", {u"a"_s, u"--json=yes"_s}, u"unexpected value after '--json'"_s);
    row("empty separator", {u"a"_s, u"--separator"_s, QString()}, u"--separator is empty"_s);
    row("empty catalogue to compare with", {u"a"_s, u"--published="_s}, u"--published is empty"_s);
    row("empty place", {u"a"_s, u"--folder"_s, QString()}, u"--folder is empty"_s);
}

void TestCommandLine::refusesWrongUsageInOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    const CommandRun refused = run(runSample, QStringList{u"sample"_s} + arguments);
    QCOMPARE(refused.err, u"quillmere-catalogue sample: %1 (try --help)\n"_s.arg(reason));
    QCOMPARE(refused.out, QString());
    QCOMPARE(refused.status, int(Unusable));
}

void TestCommandLine::explainsItself_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("long") << QStringList{u"--help"_s};
    QTest::newRow("short") << QStringList{u"-h"_s};
    QTest::newRow("among others") << QStringList{u"--separator"_s, QString(), u"a"_s, u"-h"_s};
}

void TestCommandLine::explainsItself()
{
    QFETCH(QStringList, arguments);
    const CommandRun help = run(runSample, QStringList{u"sample"_s} + arguments);
    QCOMPARE(help.status, int(NothingFound));
    QCOMPARE(help.err, QString());
    QVERIFY2(help.out.startsWith("Usage: quillmere-catalogue sample [options] FILE\n"_L1),
             qPrintable(help.out));
    QCOMPARE(optionsIn(help.out).join(u" | "_s),
             u"-h, --help | --separator <S> | --published <OLD> | --strict | --json | --own | "
             "--folder <FOLDER> | --list"_s);
}

void TestCommandLine::takesAsManyArgumentsAsTheCommandDoes()
{
    QCOMPARE(run(runRepeated, {u"repeated"_s, u"a"_s, u"b"_s, u"c"_s}).out, u"a+b+c"_s);
    QCOMPARE(run(runRepeated, {u"repeated"_s}).err,
             u"quillmere-catalogue repeated: an argument is missing (try --help)\n"_s);
}

void TestCommandLine::failureIsOneLine()
{
    QString text;
    QTextStream err(&text);
    QCOMPARE(CommandLine(u"sample"_s, {}).fail(u"no paper"_s, err), int(Unusable));
    QCOMPARE(text, u"quillmere-catalogue sample: no paper\n"_s);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
