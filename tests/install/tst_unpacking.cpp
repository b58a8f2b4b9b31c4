#include "install/unpacking.h"

#include "support/archives.h"
#include "support/privatehome.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

class TestUnpacking : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unpacks();
    void hasNoTerminal();
    void getsNoAnswer();

private:
    /// Runs unzip to its end on an archive of these bytes; what lies where it is unpacked to stays.
    /// What went wrong; empty when nothing did.
    [[nodiscard]] QString unpack(const QByteArray& archive, QProcess& unzip) const;

    QTemporaryDir m_folder;
};

QString TestUnpacking::unpack(const QByteArray& archive, QProcess& unzip) const
{
    QFile file(m_folder.filePath(u"a.zip"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(archive) != archive.size()) {
        return "cannot write "_L1 + file.fileName();
    }
    file.close();
    startUnzip(unzip, {file.fileName(), u"-d"_s, m_folder.filePath(u"out"_s)});
    return unzip.waitForFinished(20'000) ? QString() : u"unzip waits for an answer"_s;
}

void TestUnpacking::unpacks()
{
    QProcess unzip;
    QCOMPARE(unpack(zipped({u"Tool.pkg"_s}), unzip), QString());
    QCOMPARE(unzip.program(), u"/usr/bin/unzip"_s);
    QCOMPARE(unzip.exitCode(), 0);
    QCOMPARE(PrivateHome::read(m_folder.filePath(u"out/Tool.pkg"_s)), "of Tool.pkg");
}

void TestUnpacking::hasNoTerminal()
{
    QFile file(m_folder.filePath(u"large.zip"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(zippedBy("archive.writestr('large', bytes(1 << 20))"));
    file.close();
    QProcess unzip;
    // It is there until somebody reads what it prints.
    startUnzip(unzip, {u"-p"_s, file.fileName()});
    QVERIFY(unzip.waitForStarted());
    // A session of its own has no controlling terminal.
    const auto id = pid_t(unzip.processId());
    QCOMPARE(::getsid(id), id);
    QVERIFY(unzip.waitForFinished());
}

void TestUnpacking::getsNoAnswer()
{
    // The second time the file is there already, and unzip asks whether to replace it.
    QProcess first;
    QCOMPARE(unpack(zipped({u"Other.pkg"_s}), first), QString());
    QProcess second;
    QCOMPARE(unpack(zipped({u"Other.pkg"_s}), second), QString());
    QVERIFY2(second.readAllStandardError().contains("NULL"), "unzip did not ask");
}

QTEST_GUILESS_MAIN(TestUnpacking)
#include "tst_unpacking.moc"
