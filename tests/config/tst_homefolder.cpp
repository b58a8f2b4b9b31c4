#include "config/homefolder.h"

#include "support/privatehome.h"

#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

class TestHomeFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void writesOutALeadingTilde_data();
    void writesOutALeadingTilde();
    void homeIsReadAtEachCall();

private:
    std::optional<PrivateHome> m_home;
};

void TestHomeFolder::init()
{
    m_home.emplace();
}

void TestHomeFolder::cleanup()
{
    m_home.reset();
}

void TestHomeFolder::writesOutALeadingTilde_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("expected"); // "HOME" stands for the home folder's path

    const auto row = [](const char* what, const char* folder, const char* expected) {
        QTest::newRow(what) << QString::fromUtf8(folder) << QString::fromUtf8(expected);
    };
    row("a folder in the home folder", "~/Downloads", "HOME/Downloads");
    row("the tilde alone is the home folder itself", "~", "HOME");
    row("a final slash stays", "~/", "HOME/");
    row("no user's name is looked up", "~x", "HOMEx");
    row("only the first character is replaced", "~~", "HOME~");
    row("a later tilde stays", "~/a~b/~", "HOME/a~b/~");
    row("blanks and accents stay", "~/Mes téléchargements", "HOME/Mes téléchargements");
    row("an empty text stays empty", "", "");
    row("an absolute folder stays", "/Users/a/Downloads", "/Users/a/Downloads");
    row("a relative folder stays", "Downloads", "Downloads");
    row("a tilde behind a slash stays", "/~", "/~");
    row("a tilde behind a blank stays", " ~/Downloads", " ~/Downloads");
    row("a tilde at the end stays", "folder~", "folder~");
    row("another kind of tilde stays", "˜/Downloads", "˜/Downloads");
}

void TestHomeFolder::writesOutALeadingTilde()
{
    QFETCH(QString, folder);
    QFETCH(QString, expected);
    QCOMPARE(withHomeWrittenOut(folder), expected.replace("HOME"_L1, m_home->path()));
}

void TestHomeFolder::homeIsReadAtEachCall()
{
    const QString first = withHomeWrittenOut(u"~/x"_s);
    const PrivateHome other;
    QCOMPARE(first, m_home->path() + "/x"_L1);
    QCOMPARE(withHomeWrittenOut(u"~/x"_s), other.path() + "/x"_L1);
}

QTEST_GUILESS_MAIN(TestHomeFolder)
#include "tst_homefolder.moc"
