#include "ui/versionlabel.h"

#include "support/quietplatform.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString tooLong = u"1.2.3.4.5.6.7.8.9.10 (build of a version with a long name)"_s;

} // namespace

class TestVersionLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { quietPlatform(); }
    void longTextIsShownFromItsBeginning_data();
    void longTextIsShownFromItsBeginning();
    void shortTextIsShownInTheMiddle();
};

void TestVersionLabel::longTextIsShownFromItsBeginning_data()
{
    QTest::addColumn<QString>("styleSheet");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << QString() << tooLong;
    QTest::newRow("with a style sheet") << u"QLabel { color: #ff0000; }"_s << tooLong;
    QTest::newRow("one word") << QString() << QString(200, u'8');
    QTest::newRow("an ampersand") << QString() << u"R&D "_s.repeated(40);
}

void TestVersionLabel::longTextIsShownFromItsBeginning()
{
    QFETCH(QString, styleSheet);
    QFETCH(QString, text);
    VersionLabel label(text);
    label.setStyleSheet(styleSheet);
    label.setTextFormat(Qt::PlainText);
    label.setAlignment(Qt::AlignCenter);
    label.resize(138, 29);
    const QImage shown = label.grab().toImage();
    QCOMPARE(label.text(), text);

    QLabel beginning(label.fontMetrics().elidedText(text, Qt::ElideRight, 138));
    beginning.setStyleSheet(styleSheet);
    beginning.setTextFormat(Qt::PlainText);
    beginning.setAlignment(Qt::AlignCenter);
    beginning.resize(label.size());
    QVERIFY(beginning.text().startsWith(text.left(4)));
    QVERIFY(beginning.text().endsWith(u'…'));
    QCOMPARE(shown, beginning.grab().toImage());
}

void TestVersionLabel::shortTextIsShownInTheMiddle()
{
    VersionLabel label(u"2.0"_s);
    QLabel plain(u"2.0"_s);
    for (QLabel* each : {static_cast<QLabel*>(&label), &plain}) {
        each->setAlignment(Qt::AlignCenter);
        each->resize(138, 29);
    }
    QCOMPARE(label.grab().toImage(), plain.grab().toImage());
}

QTEST_MAIN(TestVersionLabel)
#include "tst_versionlabel.moc"
