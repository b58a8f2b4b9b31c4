#include "web/transfer.h"

#include <QNetworkReply>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A transfer that has ended: Qt itself tells of an early end or not as the last bytes happen to
/// come.
class EndedReply : public QNetworkReply
{
public:
    EndedReply(const QByteArray& announcedLength, qint64 received) : m_received(received)
    {
        if (!announcedLength.isNull()) {
            setRawHeader("Content-Length", announcedLength);
        }
        setFinished(true);
    }
    void failWith(NetworkError error, const QString& text) { setError(error, text); }

    void abort() override {}
    [[nodiscard]] qint64 bytesAvailable() const override { return m_received; }

protected:
    qint64 readData(char*, qint64) override { return -1; }

private:
    qint64 m_received;
};

} // namespace

class TestTransfer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsMissingFailsTheTransfer_data();
    void whatIsMissingFailsTheTransfer();
    void errorOfTheReplyComesFirst();
};

void TestTransfer::whatIsMissingFailsTheTransfer_data()
{
    QTest::addColumn<QByteArray>("announcedLength"); // null: no such header
    QTest::addColumn<qint64>("received");
    QTest::addColumn<bool>("fails");

    const auto row = [](const char* what, const QByteArray& announcedLength, qint64 received,
                        bool fails) {
        QTest::newRow(what) << announcedLength << received << fails;
    };
    row("whole", "1000", 1'000, false);
    row("one byte short", "1000", 999, true);
    row("nothing of it", "1000", 0, true);
    row("more than announced", "1000", 1'001, false);
    row("no byte, and none announced", "0", 0, false);
    row("no length", {}, 10, false);
    row("no length and no byte", {}, 0, false);
    row("a length below zero", "-5", 0, false);
    row("a length that is no number", "many", 0, false);
    row("one byte short of 5 GB", "5000000000", 4'999'999'999, true);
}

void TestTransfer::whatIsMissingFailsTheTransfer()
{
    QFETCH(QByteArray, announcedLength);
    QFETCH(qint64, received);
    QFETCH(bool, fails);
    const std::optional<QString> error = transferError(EndedReply(announcedLength, received));
    QCOMPARE(error.has_value(), fails);
    QCOMPARE(error.value_or(QString()), fails ? u"Connection closed"_s : QString());
}

void TestTransfer::errorOfTheReplyComesFirst()
{
    EndedReply reply("1000", 10);
    reply.failWith(QNetworkReply::ContentNotFoundError, u"not there"_s);
    QCOMPARE(transferError(reply).value_or(QString()), u"not there"_s);
}

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
