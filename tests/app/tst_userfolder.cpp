#include "app/userfolder.h"

#include "support/privatehome.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestUserFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void liesBelowTheHomeOfTheMoment();
};

void TestUserFolder::liesBelowTheHomeOfTheMoment()
{
    const PrivateHome first;
    QCOMPARE(userFolder(), first.path() + u"/Library/Quillmere/"_s);
    const PrivateHome second;
    QCOMPARE(userFolder(), second.path() + u"/Library/Quillmere/"_s);
    QVERIFY2(!QFileInfo::exists(second.path() + u"/Library"_s), "asking created the folder");
}

QTEST_GUILESS_MAIN(TestUserFolder)
#include "tst_userfolder.moc"
