#include "commandrun.h"
#include "support/privatehome.h"
#include "support/sanitizer.h"

#include <QFileInfo>
#include <QProcess>
#include <QTcpServer>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Ended
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

} // namespace

/// The built companion, as a user runs it.
class TestCatalogueCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void explainsItself();
    void eachCommandExplainsItself_data();
    void eachCommandExplainsItself();
    void wrongUsageIsOneLine_data();
    void wrongUsageIsOneLine();
    void checksACatalogue();
    void saysNothingOfWhatTheClientLogs();
    void writesNothingUnescaped();
    void outputThatCannotBeWrittenIsAnError_data();
    void outputThatCannotBeWrittenIsAnError();
    void readsStandardInput();
    void needsLittleMemoryForManyFindings();
    void tellsOfASilentServerOnATerminal();
    void theManualSaysWhatHelpSays();
    void bashCompletesCommandsAndOptions_data();
    void bashCompletesCommandsAndOptions();
    void needsNoDisplay();

private:
    [[nodiscard]] static Ended start(const QStringList& arguments);

    std::optional<PrivateHome> m_home;
};

Ended TestCatalogueCommand::start(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"QT_QPA_PLATFORM"_s);
    environment.remove(u"DISPLAY"_s);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QUILLMERE_CATALOGUE), arguments);
    if (!process.waitForFinished(60'000)) {
        return {};
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

void TestCatalogueCommand::explainsItself()
{
    const Ended help = start({u"--help"_s});
    QCOMPARE(help.status, 0);
    QVERIFY(help.out.startsWith("Usage: quillmere-catalogue COMMAND [options] ARGUMENTS...\n"));
    for (const char* command :
         {"\n  check  ", "\n  preview  ", "\n  forecast  ", "\n  archive  ", "\n  explain  "}) {
        QVERIFY2(help.out.contains(command), command);
    }
    QCOMPARE(help.err, QByteArray());
    QCOMPARE(start({u"help"_s}).out, help.out);
    QCOMPARE(start({u"help"_s, u"check"_s}).out, start({u"check"_s, u"--help"_s}).out);
    const Ended version = start({u"--version"_s});
    QCOMPARE(version.status, 0);
    QCOMPARE(version.out, QByteArray("quillmere-catalogue " QUILLMERE_VERSION "\n"));
}

void TestCatalogueCommand::eachCommandExplainsItself_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("options");

    const QStringList shared = {u"--separator <S>"_s, u"--published <OLD>"_s};
    QTest::newRow("check") << u"check"_s
                           << QStringList{u"--files <FOLDER>"_s, u"--strict"_s,
                                          u"--json"_s,           u"--list-rules"_s,
                                          u"--known <NAMES>"_s,  u"--removes <N>"_s,
                                          u"--accept <LIST>"_s,  u"--short"_s,
                                          u"--thorough"_s} +
                                  shared;
    QTest::newRow("preview") << u"preview"_s
                             << QStringList{u"--log <LOG>"_s, u"--scan"_s, u"--json"_s} + shared;
    QTest::newRow("forecast") << u"forecast"_s
                              << QStringList{u"--machines <PLACE>"_s,
                                             u"--files <FOLDER>"_s,
                                             u"--format <FORMAT>"_s,
                                             u"--columns <TITLES>"_s,
                                             u"--list <ENTRY>"_s,
                                             u"--json"_s,
                                             u"--csv"_s,
                                             u"--html <FILE>"_s,
                                             u"--anonymous"_s,
                                             u"--key <FILE>"_s,
                                             u"--max-older <LIMIT>"_s,
                                             u"--max-newer <LIMIT>"_s,
                                             u"--max-unknown <LIMIT>"_s,
                                             u"--removes <LIMIT>"_s,
                                             u"--sum"_s,
                                             u"--all"_s,
                                             u"--threads <N>"_s} +
                                     shared;
    QTest::newRow("archive") << u"archive"_s
                             << QStringList{u"--previous <FILE>"_s, u"--strict"_s, u"--json"_s};
    QTest::newRow("explain") << u"explain"_s << QStringList{u"--anonymous"_s, u"--json"_s};
}

void TestCatalogueCommand::eachCommandExplainsItself()
{
    QFETCH(QString, command);
    QFETCH(QStringList, options);
    const Ended help = start({command, u"--help"_s});
    QCOMPARE(help.status, 0);
    QVERIFY2(help.out.startsWith("Usage: quillmere-catalogue " + command.toUtf8() + " [options] "),
             help.out.constData());
    QStringList told = optionsIn(QString::fromUtf8(help.out));
    options.append(u"-h, --help"_s);
    options.sort();
    told.sort();
    QCOMPARE(told.join(u'\n'), options.join(u'\n'));
    QVERIFY(help.out.endsWith('\n') && !help.out.contains("help-all"));
    QCOMPARE(help.err, QByteArray());
}

void TestCatalogueCommand::wrongUsageIsOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("error");

    QTest::newRow("no command") << QStringList()
                                << QByteArray("quillmere-catalogue: a command is missing "
                                              "(try --help)\n");
    QTest::newRow("unknown command") << QStringList{u"chekc"_s}
                                     << QByteArray("quillmere-catalogue: unknown command 'chekc' "
                                                   "(try --help)\n");
    for (const char* command : {"check", "preview", "forecast", "archive", "explain"}) {
        QTest::newRow(command) << QStringList{QString::fromLatin1(command), u"-x"_s, u"a"_s}
                               << QByteArray("quillmere-catalogue ") + command +
                                      ": unknown option 'x' (try --help)\n";
    }
}

void TestCatalogueCommand::wrongUsageIsOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, error);
    const Ended ended = start(arguments);
    QCOMPARE(ended.err, error);
    QCOMPARE(ended.out, QByteArray());
    QCOMPARE(ended.status, 2);
}

void TestCatalogueCommand::checksACatalogue()
{
    const QString path = m_home->write(
        u"a.csv"_s, "Name,Version,Release date,Filename,Ignored\n\u00c9t\u00e9,v1,,a.dmg,0\n");
    const Ended ended = start({u"check"_s, path});
    QCOMPARE(ended.status, 1);
    QCOMPARE(ended.err, QByteArray());
    const QByteArray name = path.toUtf8();
    QVERIFY2(ended.out.startsWith(name + ":2: note: '\u00c9t\u00e9' has composed accents. "),
             ended.out.constData());
    QVERIFY(ended.out.endsWith(" [version-start]\n"));
    QCOMPARE(ended.out.count('\n'), 2);
}

void TestCatalogueCommand::saysNothingOfWhatTheClientLogs()
{
    // The client's code logs that it cannot reach the server.
    const Ended ended = start({u"check"_s, u"http://127.0.0.1:1/a.csv"_s});
    QCOMPARE(ended.status, 2);
    QCOMPARE(ended.out, QByteArray());
    QCOMPARE(ended.err.count('\n'), 1);
    QVERIFY2(
        ended.err.startsWith("quillmere-catalogue check: cannot read http://127.0.0.1:1/a.csv: "),
        ended.err.constData());
    QVERIFY(!QFileInfo::exists(m_home->userFolder()));
}

void TestCatalogueCommand::writesNothingUnescaped()
{
    // Names as a server or a colleague can choose them.
    const QString forged = u"x\nc.csv:2: error: forged\u202e"_s;
    m_home->write("soft/"_L1 + forged, "x");
    const QString path = m_home->write(
        u"a\x1b.csv"_s, "Name,Version,Release date,Filename,Ignored\nA,v1,,a.iso,0\n");
    const QStringList arguments{u"check"_s, path, u"--files"_s, m_home->path() + "/soft"_L1};
    const QStringList none{u"check"_s, path + u'\x1b', u"--json"_s};
    for (const Ended& ended : {start(arguments), start(arguments + QStringList{u"--json"_s}),
                               start(none), start({u"explain"_s, path}), start({forged}),
                               start({u"check"_s, u"--a\nb"_s}), start({u"archive"_s, path})}) {
        const QByteArray all = ended.out + ended.err;
        QVERIFY2(!all.contains('\x1b') && !all.contains("\u202e") && !all.contains("\nc.csv:2"),
                 all.constData());
        QVERIFY(!all.isEmpty());
    }
}

void TestCatalogueCommand::outputThatCannotBeWrittenIsAnError_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("redirection");
    QTest::addColumn<QByteArray>("reason");

    for (const char* arguments : {"check --list-rules", "--help", "check --help", "--version"}) {
        const QString line = QString::fromLatin1(arguments);
        QTest::addRow("full: %s", arguments)
            << line << u">/dev/full"_s << QByteArray("No space left on device");
        QTest::addRow("closed: %s", arguments)
            << line << u">&-"_s << QByteArray("Bad file descriptor");
    }
}

void TestCatalogueCommand::outputThatCannotBeWrittenIsAnError()
{
    QFETCH(QString, arguments);
    QFETCH(QString, redirection);
    QFETCH(QByteArray, reason);
    if (!QFileInfo::exists(u"/dev/full"_s)) {
        QSKIP("this system has no file that is always full");
    }
    QProcess shell;
    shell.start(u"/bin/sh"_s, {u"-c"_s, QStringLiteral(QUILLMERE_CATALOGUE) + u' ' + arguments +
                                            u' ' + redirection});
    QVERIFY(shell.waitForFinished(60'000));
    QCOMPARE(shell.readAllStandardError(),
             "quillmere-catalogue: cannot write the output: " + reason + '\n');
    QCOMPARE(shell.exitCode(), 2);
}

void TestCatalogueCommand::readsStandardInput()
{
    QProcess process;
    process.start(QStringLiteral(QUILLMERE_CATALOGUE), {u"check"_s, u"-"_s});
    process.write("Name,Version,Release date,Filename,Ignored\nA,v1,,a.dmg,0\n");
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(60'000));
    QCOMPARE(process.exitCode(), 1);
    const QByteArray out = process.readAllStandardOutput();
    QVERIFY2(out.startsWith("(standard input):2: error: 'v1' does not start"), out.constData());
}

void TestCatalogueCommand::needsLittleMemoryForManyFindings()
{
    if (isSanitized) {
        QSKIP("a sanitizer maps more memory than the limit");
    }
    if (!QFileInfo::exists(u"/usr/bin/prlimit"_s)) {
        QSKIP("this system cannot limit a program's memory");
    }
    QByteArray text = "Name,Version,Release date,Filename,Ignored\n";
    for (int i = 0; i < 273'000; ++i) {
        text += "Tool " + QByteArray::number(i) + ".,v1,2026-09-21,tool-" + QByteArray::number(i) +
                ".dmg,0\n";
    }
    const QString path = m_home->write(u"a.csv"_s, text);
    QProcess shell;
    shell.start(u"/bin/sh"_s,
                {u"-c"_s, u"prlimit --data=%1 %2 check --json %3 | wc -l"_s.arg(300'000'000)
                              .arg(QStringLiteral(QUILLMERE_CATALOGUE), path)});
    QVERIFY(shell.waitForFinished(120'000));
    QCOMPARE(shell.readAllStandardError(), QByteArray());
    QCOMPARE(shell.readAllStandardOutput().trimmed().toInt(), 273'000 + 4);
}

void TestCatalogueCommand::tellsOfASilentServerOnATerminal()
{
    if (!QFileInfo::exists(u"/usr/bin/script"_s)) {
        QSKIP("this system has no program that makes a terminal");
    }
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    const QString address = u"http://127.0.0.1:%1/a.csv"_s.arg(silent.serverPort());
    QProcess terminal;
    terminal.start(
        u"script"_s,
        {u"-qec"_s, QStringLiteral(QUILLMERE_CATALOGUE) + " check "_L1 + address, u"/dev/null"_s});
    QByteArray shown;
    QTRY_VERIFY_WITH_TIMEOUT(
        (shown += terminal.readAll()).contains("waiting for " + address.toUtf8()), 30'000);
    terminal.kill();
    QVERIFY(terminal.waitForFinished());
}

void TestCatalogueCommand::theManualSaysWhatHelpSays()
{
    QString manual = QString::fromUtf8(start({u"--manual"_s}).out);
    QVERIFY(manual.startsWith(".TH QUILLMERE-CATALOGUE 1 "_L1));
    manual.replace("\\-"_L1, "-"_L1).replace("\\e"_L1, "\\"_L1);
    for (const char* command : {"check", "preview", "forecast", "archive", "explain"}) {
        const QByteArray help = start({QString::fromLatin1(command), u"--help"_s}).out;
        QVERIFY2(manual.contains(QString::fromUtf8(help.trimmed())), qPrintable(manual));
    }
}

void TestCatalogueCommand::bashCompletesCommandsAndOptions_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("completed");

    QTest::newRow("a command") << u"ch"_s << QByteArray("check\n");
    QTest::newRow("an option") << u"check --pub"_s << QByteArray("--published\n");
    QTest::newRow("an option of another command") << u"explain --pub"_s << QByteArray();
    QTest::newRow("what is helped with") << u"help ar"_s << QByteArray("archive\n");
    QTest::newRow("a file's name is the shell's matter") << u"check a"_s << QByteArray();
}

void TestCatalogueCommand::bashCompletesCommandsAndOptions()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, completed);
    const QString script = m_home->write(u"completion"_s, start({u"--bash-completion"_s}).out);
    QProcess bash;
    bash.start(u"bash"_s,
               {u"-c"_s, u". %1; COMP_WORDS=(quillmere-catalogue %2); "
                         "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _quillmere_catalogue; "
                         "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' \"${COMPREPLY[@]}\""_s.arg(
                             script, words)});
    QVERIFY(bash.waitForFinished());
    QCOMPARE(bash.readAllStandardError(), QByteArray());
    QCOMPARE(bash.readAllStandardOutput(), completed);
}

void TestCatalogueCommand::needsNoDisplay()
{
    QProcess list;
    list.start(u"ldd"_s, {QStringLiteral(QUILLMERE_CATALOGUE)});
    if (!list.waitForFinished() || list.exitCode() != 0) {
        QSKIP("this system cannot list a program's libraries");
    }
    const QByteArray libraries = list.readAllStandardOutput();
    QVERIFY(libraries.contains("libQt6Core"));
    QVERIFY(!libraries.contains("libQt6Gui"));
    QVERIFY(!libraries.contains("libQt6Widgets"));
}

QTEST_GUILESS_MAIN(TestCatalogueCommand)
#include "tst_cataloguecommand.moc"
