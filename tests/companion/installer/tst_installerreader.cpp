// The process that reads an installer: how it ends, and what is left of it.

#include "companion/installer/installerreader.h"
#include "companion/installer/limits.h"
#include "support/sanitizer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;

class TestInstallerReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keepsWhatIsToldWhole();
    void saysThatItsReaderFailed_data();
    void saysThatItsReaderFailed();
    void removesTheTemporaryFolder();
    void endsWhenItIsStopped();
    void saysWhatOfThisMachineKeepsItFromReading();
    void readsInSeveralThreads();
    void limitsTheProcess();
    void readsInTheBuiltCompanion();

private:
    /// A program that is this shell script.
    [[nodiscard]] QString program(const QByteArray& script);
    /// Why nothing is known when this script reads.
    [[nodiscard]] QString reason(const QByteArray& script);

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestInstallerReader::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

QString TestInstallerReader::program(const QByteArray& script)
{
    const QString path = m_folder->filePath(u"reader"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write("#!/bin/sh\n" + script) < 0 ||
        !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
        qFatal("the script cannot be written");
    }
    return path;
}

QString TestInstallerReader::reason(const QByteArray& script)
{
    InstallerReader::useProgram(program(script));
    return InstallerReader::read(u"/nowhere/x.zip"_s).unknown;
}

void TestInstallerReader::keepsWhatIsToldWhole()
{
    BundleFacts bundle;
    bundle.location = u"/Applications/Synth.app"_s;
    bundle.name = u"Synth"_s;
    bundle.version.value = u"2.5"_s;
    bundle.identifier = unknownText(u"a reason"_s);
    bundle.processors.value = QStringList{u"arm64"_s, u"x86_64"_s};
    bundle.newestFile.value = QDate(2026, 3, 1);
    bundle.faults = QStringList{u"a fault"_s};
    InstallerItem item;
    item.path = u"Synth.app"_s;
    item.openedOn = QStringList{u"arm64"_s};
    item.kind = u"application"_s;
    item.notes = QStringList{u"a note"_s};
    item.bundles = {bundle};
    InstallerItem other;
    other.unknown = u"another reason"_s;
    const InstallerFacts facts{{item, other}, {}, {}};
    QVERIFY(installerFactsFrom(toJson(facts)) == facts);
    const InstallerFacts none{{}, u"why"_s, {}};
    QVERIFY(installerFactsFrom(toJson(none)) == none);
}

void TestInstallerReader::saysThatItsReaderFailed_data()
{
    QTest::addColumn<QByteArray>("script");

    QTest::newRow("ended by a signal") << QByteArray("kill -SEGV $$\n");
    QTest::newRow("ended with another status") << QByteArray("echo '{}'; exit 3\n");
    QTest::newRow("told nothing") << QByteArray("exit 0\n");
    QTest::newRow("told no JSON") << QByteArray("echo '{\"items\":'\n");
    QTest::newRow("beyond its memory")
        << QByteArray("exec python3 -c 'x = bytes(3 * 1024 ** 3); print(\"{}\")'\n");
}

void TestInstallerReader::saysThatItsReaderFailed()
{
    QFETCH(QByteArray, script);
    if (isSanitized && script.contains("python3")) {
        QSKIP("a sanitizer maps more memory than the limit, which is left out for it");
    }
    QCOMPARE(reason(script), u"its reader failed, or met its limits of memory and time"_s);
}

void TestInstallerReader::removesTheTemporaryFolder()
{
    const QString told = m_folder->filePath(u"told"_s);
    const QString left = reason("echo x >\"$TMPDIR/x\"; echo y >z; mkdir -p d/e\n"
                                "printf '%s' \"$TMPDIR\" >" +
                                QFile::encodeName(told) + "\nkill -KILL $$\n");
    QVERIFY(!left.isEmpty());
    QFile file(told);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString folder = QString::fromUtf8(file.readAll());
    QVERIFY(QDir::isAbsolutePath(folder));
    QVERIFY(folder.startsWith(QDir::tempPath()));
    QVERIFY(!QFileInfo::exists(folder));
}

void TestInstallerReader::endsWhenItIsStopped()
{
    const QString told = m_folder->filePath(u"told"_s);
    InstallerReader::useProgram(
        program("printf '%s' \"$TMPDIR\" >" + QFile::encodeName(told) + "\nexec sleep 1000\n"));
    const InstallerFacts facts =
        InstallerReader::read(u"/nowhere/x.zip"_s, [&told] { return QFileInfo(told).size() == 0; });
    QCOMPARE(facts.unknown, u"its reading was stopped"_s);
    QCOMPARE(facts.obstacle, facts.unknown);
    QFile file(told);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(!QFileInfo::exists(QString::fromUtf8(file.readAll())));
}

void TestInstallerReader::saysWhatOfThisMachineKeepsItFromReading()
{
    InstallerReader::useProgram(m_folder->filePath(u"nowhere"_s));
    const QString reason = InstallerReader::read(u"/nowhere/x.zip"_s).obstacle;
    QVERIFY2(reason.startsWith("its reader cannot be started: "_L1), qPrintable(reason));
}

void TestInstallerReader::readsInSeveralThreads()
{
    InstallerReader::useProgram(program("printf '{\"unknown\":\"%s\"}' \"$2\"\n"));
    std::vector<std::thread> threads;
    std::array<QString, 8> told;
    for (std::size_t i = 0; i < told.size(); ++i) {
        threads.emplace_back(
            [&told, i] { told[i] = InstallerReader::read(u"/nowhere/%1.zip"_s.arg(i)).unknown; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < told.size(); ++i) {
        QCOMPARE(told[i], u"/nowhere/%1.zip"_s.arg(i));
    }
}

void TestInstallerReader::limitsTheProcess()
{
    const QString told =
        reason("printf '{\"unknown\":\"%s %s %s\"}' $(ulimit -t) $(ulimit -c) $(ulimit -v)\n");
    const QString memory = told.section(u' ', 2);
    QCOMPARE(told.section(u' ', 0, 1), u"%1 0"_s.arg(InstallerLimits::processorSeconds));
#ifndef __SANITIZE_ADDRESS__
    QCOMPARE(memory, QString::number(InstallerLimits::memory / 1024));
#endif
}

void TestInstallerReader::readsInTheBuiltCompanion()
{
    const QString path = m_folder->filePath(u"page.pkg"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<html></html>");
    file.close();
    InstallerReader::useProgram(QStringLiteral(QUILLMERE_CATALOGUE));
    const InstallerFacts facts = InstallerReader::read(path);
    QCOMPARE(facts.unknown, QString());
    QCOMPARE(facts.items.size(), 1);
    QCOMPARE(facts.items[0].unknown, u"it is a web page"_s);
    QCOMPARE(facts.items[0].openedOn.join(u' '), u"arm64 x86_64"_s);
}

QTEST_GUILESS_MAIN(TestInstallerReader)
#include "tst_installerreader.moc"
