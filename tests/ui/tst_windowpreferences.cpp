#include "ui/aboutdialog.h"
#include "ui/preferencedialog.h"

#include "support/downloadbench.h"
#include "support/modalbox.h"
#include "support/testline.h"
#include "support/windowclick.h"
#include "support/windowsetup.h"
#include "ui/waitdialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QTest>

#include <functional>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the user does with the open dialog.
using Use = std::function<void(PreferenceDialog&)>;

const QString saveFailed = u"Failed to save configuration file — check that it isn't read-only."_s;

/// Runs @p open, which opens a dialog of this kind and returns when that is closed, and @p use once
/// with the open dialog. How often such a dialog was open; 0 and 2 are failures.
template <typename Dialog>
int whileOpen(const std::function<void()>& open, const std::function<void(Dialog&)>& use)
{
    int count = 0;
    QTimer timer;
    timer.callOnTimeout([&] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            return;
        }
        ++count;
        if (count == 1) {
            use(*dialog);
        }
        if (dialog->isVisible()) {
            dialog->reject();
        }
    });
    timer.start(5);
    open();
    return count;
}

/// Opens the preferences by the menu's entry. False when they do not open.
bool usePreferences(MainWindow& window, const Use& use)
{
    auto* action = window.findChild<QAction*>(u"actionPreferences"_s);
    return whileOpen<PreferenceDialog>([action] { action->trigger(); }, use) == 1;
}

/// Runs @p step once, when @p server is asked the next time, before it answers.
template <typename Step>
void atNextRequest(HttpServer& server, const Step& step)
{
    auto* once = new QObject(&server);
    QObject::connect(&server, &HttpServer::requested, once, [once, step] {
        delete once;
        step();
    });
}

/// A catalogue without entries, so that loading it fails at once.
void offerNothing(HttpServer& server)
{
    server.forget();
    server.reply(u"catalogue.csv"_s, {.body = WindowSetup::catalogue({})});
}

void type(const PreferenceDialog& dialog, const char* key, const QString& text)
{
    dialog.findChild<QLineEdit*>("lineEdit_"_L1 + QLatin1StringView(key))->setText(text);
}

void press(const PreferenceDialog& dialog, QDialogButtonBox::StandardButton button)
{
    windowClick(dialog.findChild<QDialogButtonBox*>(u"buttonBox"_s)->button(button));
}

void pressOk(PreferenceDialog& dialog)
{
    press(dialog, QDialogButtonBox::Ok);
}

void pressCancel(PreferenceDialog& dialog)
{
    press(dialog, QDialogButtonBox::Cancel);
}

void pressEscape(PreferenceDialog& dialog)
{
    QTest::keyClick(&dialog, Qt::Key_Escape);
}

void pressCloseButton(PreferenceDialog& dialog)
{
    dialog.close();
}

void pressControlW(PreferenceDialog& dialog, TestLine at = {})
{
    dialog.activateWindow();
    // Not qWaitForWindowActive(), which is content when the main window is active.
    TRY_COMPARE_AT(at, QApplication::activeWindow(), &dialog, 5'000);
    QTest::keyClick(&dialog, Qt::Key_W, Qt::ControlModifier);
}

} // namespace

/// What the window does with its preferences and its about box.
class TestWindowPreferences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // Opening
    void menuOpensThePreferencesOverTheWindow();
    void menuOpensTheAboutBoxOverTheWindow();

    // Accepted
    void okReloadsFromTheNewServer();
    void okPassesEverySettingToTheCatalogue();
    void okLogsTheSettingsAndReloadsInOrder();
    void okPaintsTheNewColors();
    void okStartsAScan();
    void failedReloadIsToldAndStillScans();
    void controlWReloadsWithTheSettingsAsTheyAre();

    // Not accepted
    void otherEndsDoNothing_data();
    void otherEndsDoNothing();
    void resetKeptByEscapeIsNotReloaded();

    // During a load
    void acceptedDuringALoadReloadsAfterIt();
    void acceptedDuringALoadScansAfterTheReload();
    void acceptedDuringALoadColorsAtOnce();
    void acceptedDuringALoadThatFailsShowsNoBox();
    void failedReloadAfterALoadIsToldOnce();
    void acceptedTwiceDuringLoadsReloadsWithTheLastSettings();
    void rejectedDuringALoadReloadsNothing();
    void acceptedDuringALoadOfAWindowThatClosesIsKept();

    // At other times
    void acceptedDuringAScan();
    void acceptedAfterAFailedLoad();
    void acceptedWhenTheScanHasFoundEverything();
    void downloadFollowsItsRow();
    void downloadWhoseNameIsGoneIsAborted();
    void downloadEndsDuringAnOpenDialog();

    // The settings file
    void deletedFileIsWrittenAnew();
    void failedSaveIsToldAndTheSettingsAreUsed();
    void emptyStoreIsToldAndLosesNothing_data();
    void emptyStoreIsToldAndLosesNothing();

    // The window closed meanwhile
    void closedWindowStaysSilentAndKeepsTheSettings();
    void windowClosedBeforeARejectionStaysClosed();

private:
    /// A window that shows the catalogue with Alpha of the first server; the second has Beta.
    void open(TestLine at = {});
    /// Types the second server's address and presses OK.
    void moveToOtherServer(PreferenceDialog& dialog) const;
    [[nodiscard]] QString color(int row) const;
    /// The log's lines from here on.
    [[nodiscard]] QStringList takeLog();
    [[nodiscard]] QStringList names() const { return m_setup->texts(0); }
    [[nodiscard]] bool waitForScan() const;

    std::unique_ptr<WindowSetup> m_setup;
    std::unique_ptr<HttpServer> m_other;
    qsizetype m_linesTaken = 0;
};

void TestWindowPreferences::init()
{
    m_setup = std::make_unique<WindowSetup>();
    m_other = std::make_unique<HttpServer>();
    m_linesTaken = 0;
    m_setup->offer({{"Alpha"}});
    m_other->reply(u"catalogue.csv"_s, {.body = WindowSetup::catalogue({{"Beta"}, {"Gamma"}})});
}

void TestWindowPreferences::cleanup()
{
    m_setup->releaseScans();
    m_setup.reset();
    m_other.reset();
}

void TestWindowPreferences::open(TestLine at)
{
    m_setup->open(at);
    VERIFY_AT(at, m_setup->window().action_loadWebData());
    COMPARE_AT(at, names(), QStringList{u"Alpha"_s});
    (void)takeLog();
}

void TestWindowPreferences::moveToOtherServer(PreferenceDialog& dialog) const
{
    type(dialog, "baseURL", m_other->url());
    pressOk(dialog);
}

QString TestWindowPreferences::color(int row) const
{
    return m_setup->table()->item(row, 0)->background().color().name();
}

QStringList TestWindowPreferences::takeLog()
{
    const QStringList lines = m_setup->home.logLines().mid(m_linesTaken);
    m_linesTaken += lines.size();
    return lines;
}

bool TestWindowPreferences::waitForScan() const
{
    return QTest::qWaitFor([this] { return m_setup->loadButton()->isEnabled(); }, 10'000);
}

void TestWindowPreferences::menuOpensThePreferencesOverTheWindow()
{
    open();
    bool isModal = false;
    const QWidget* parent = nullptr;
    QVERIFY(usePreferences(m_setup->window(), [&](PreferenceDialog& dialog) {
        isModal = dialog.isModal();
        parent = dialog.parentWidget();
    }));
    QVERIFY(isModal);
    QCOMPARE(parent, &m_setup->window());
    QVERIFY(!m_setup->window().findChild<PreferenceDialog*>());
}

void TestWindowPreferences::menuOpensTheAboutBoxOverTheWindow()
{
    open();
    bool isModal = false;
    const QWidget* parent = nullptr;
    const auto openAbout = [this] { m_setup->action(u"actionAbout"_s)->trigger(); };
    QCOMPARE(whileOpen<aboutDialog>(openAbout,
                                    [&](aboutDialog& dialog) {
                                        isModal = dialog.isModal();
                                        parent = dialog.parentWidget();
                                        windowClick(
                                            dialog.findChild<QPushButton*>(u"pushButton"_s));
                                    }),
             1);
    QVERIFY(isModal);
    QCOMPARE(parent, &m_setup->window());
    QVERIFY(!m_setup->window().findChild<aboutDialog*>());
    QCOMPARE(m_setup->server.requests().size(), 1);
    QCOMPARE(m_setup->scans(), 0);
    QCOMPARE(takeLog(), QStringList());
}

void TestWindowPreferences::okReloadsFromTheNewServer()
{
    open();
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QCOMPARE(m_setup->server.requests().size(), 1);
    QCOMPARE(m_other->requests(), QStringList{u"/catalogue.csv"_s});
    QVERIFY(waitForScan());
}

void TestWindowPreferences::okPassesEverySettingToTheCatalogue()
{
    m_other->reply(u"own/list.csv"_s, {.body = "Name;Version;Release date;Filename;Ignored\n"
                                               "Delta;4.2;2026-02-03;delta.dmg;0\n"});
    m_other->reply(u"own/soft/delta.dmg"_s,
                   {.body = "ab", .manner = HttpReply::Stall, .announcedLength = 4});
    open();
    QVERIFY(usePreferences(m_setup->window(), [this](PreferenceDialog& dialog) {
        type(dialog, "baseURL", m_other->url(u"own/"_s));
        type(dialog, "csvPath", u"list.csv"_s);
        type(dialog, "csvSeparator", u";"_s);
        type(dialog, "softPath", u"soft/"_s);
        pressOk(dialog);
    }));
    QCOMPARE(names(), QStringList{u"Delta"_s});
    QVERIFY(waitForScan());

    windowClick(m_setup->table()->cellWidget(0, 2)->findChild<QPushButton*>(u"downloadBtn"_s));
    QTRY_COMPARE(m_other->requests(), (QStringList{u"/own/list.csv"_s, u"/own/soft/delta.dmg"_s}));
}

void TestWindowPreferences::okLogsTheSettingsAndReloadsInOrder()
{
    open();
    m_setup->holdScans();
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QTRY_COMPARE(m_setup->scans(), 1);
    const QString settings =
        u"[INFO] Current configuration's content:\n"
        "\tcolor:\n"
        "\t    \"base\" => \"#d4d4d4\"\n"
        "\t    \"down\" => \"#ffdada\"\n"
        "\t    \"equal\" => \"#daffda\"\n"
        "\t    \"up\" => \"#dadaff\"\n"
        "\tlocalconfig:\n"
        "\t    \"downloadFolder\" => \"%1/Downloads\"\n"
        "\twebconfig:\n"
        "\t    \"baseURL\" => \"%2\"\n"
        "\t    \"csvPath\" => \"catalogue.csv\"\n"
        "\t    \"csvSeparator\" => \",\"\n"
        "\t    \"softPath\" => \"software/\"\n"_s.arg(m_setup->home.path(), m_other->url());
    QVERIFY(PrivateHome::read(m_setup->home.logPath()).contains(settings.toUtf8()));

    QStringList steps;
    for (const QString& line : takeLog()) {
        if (line.startsWith(u'[') && !line.contains("execution duration"_L1)) {
            steps.append(line);
        }
    }
    QCOMPARE(
        steps.mid(0, 8),
        (QStringList{
            u"[INFO] PreferenceDialog:Accepted"_s, u"[INFO] Saving..."_s, u"[INFO] Saving OK"_s,
            u"[INFO] Current configuration's content:"_s, u"[INFO] WebProfiler - Clear Data"_s,
            u"[INFO] WebProfiler - data Updating..."_s,
            u"[INFO] WebProfiler - Reading csv data from: "_s + m_other->url(u"catalogue.csv"_s),
            u"[INFO] SysProfiler - New thread start"_s}));
}

void TestWindowPreferences::okPaintsTheNewColors()
{
    m_setup->install(u"Alpha"_s, "1.0");
    m_setup->install(u"Beta"_s, "0.5");
    m_setup->install(u"Gamma"_s, "1.5");
    m_setup->offer({{"Alpha"}, {"Beta"}, {"Gamma"}, {"Delta"}});
    m_setup->open();
    QVERIFY(m_setup->window().action_loadWebData());
    QVERIFY(m_setup->scan());
    QCOMPARE(color(0), u"#daffda"_s);

    // The defaults are read back from a file that another program has changed.
    m_setup->configure(
        {.base = u"#102030"_s, .down = u"#405060"_s, .equal = u"#708090"_s, .up = u"#a0b0c0"_s});
    QVERIFY(m_setup->window().config().reloadFromDisk());
    QCOMPARE(color(0), u"#daffda"_s);
    QVERIFY(usePreferences(m_setup->window(), pressOk));
    QVERIFY(waitForScan());
    QStringList colors;
    for (int row = 0; row < 4; ++row) {
        colors.append(color(row));
    }
    QCOMPARE(colors, (QStringList{u"#708090"_s, u"#405060"_s, u"#a0b0c0"_s, u"#102030"_s}));
}

void TestWindowPreferences::okStartsAScan()
{
    m_setup->install(u"Beta"_s, "0.5");
    open();
    m_setup->holdScans();
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QVERIFY(!m_setup->loadButton()->isEnabled());
    QVERIFY(m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->texts(1), QStringList(2, QString()));

    m_setup->releaseScans();
    QVERIFY(waitForScan());
    QVERIFY(!m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->scans(), 1);
    QCOMPARE(m_setup->texts(1), (QStringList{u"0.5"_s, QString()}));
}

void TestWindowPreferences::failedReloadIsToldAndStillScans()
{
    open();
    offerNothing(*m_other);
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QCOMPARE(answers.titles(), QStringList{u"File Error"_s});
    QVERIFY(answers.texts().constFirst().startsWith(u"Ressources internet inaccessibles"_s));
    QVERIFY(waitForScan());
    QCOMPARE(m_setup->scans(), 1);
    QCOMPARE(names(), QStringList{u"Alpha"_s});
}

void TestWindowPreferences::controlWReloadsWithTheSettingsAsTheyAre()
{
    open();
    const QByteArray before = PrivateHome::read(m_setup->home.configPath());
    m_setup->offer({{"Alpha"}, {"Epsilon"}});
    QVERIFY(usePreferences(m_setup->window(), [this](PreferenceDialog& dialog) {
        type(dialog, "baseURL", m_other->url());
        pressControlW(dialog);
    }));
    QCOMPARE(names(), (QStringList{u"Alpha"_s, u"Epsilon"_s}));
    QCOMPARE(m_other->requests(), QStringList());
    QCOMPARE(PrivateHome::read(m_setup->home.configPath()), before);
    QCOMPARE(takeLog().constFirst(), u"[INFO] Current configuration's content:"_s);
    QVERIFY(waitForScan());
    QCOMPARE(m_setup->scans(), 1);
}

void TestWindowPreferences::otherEndsDoNothing_data()
{
    QTest::addColumn<Use>("end");
    QTest::addColumn<QStringList>("logged");

    QTest::newRow("Cancel") << Use(pressCancel)
                            << QStringList{u"[INFO] PreferenceDialog:Rejected"_s};
    QTest::newRow("Escape") << Use(pressEscape) << QStringList();
    QTest::newRow("the dialog's close button") << Use(pressCloseButton) << QStringList();
}

void TestWindowPreferences::otherEndsDoNothing()
{
    QFETCH(Use, end);
    QFETCH(QStringList, logged);
    open();
    const QByteArray before = PrivateHome::read(m_setup->home.configPath());
    m_setup->offer({{"Epsilon"}});
    QVERIFY(usePreferences(m_setup->window(), [&](PreferenceDialog& dialog) {
        type(dialog, "baseURL", m_other->url());
        end(dialog);
    }));
    QCOMPARE(takeLog(), logged);
    QCOMPARE(names(), QStringList{u"Alpha"_s});
    QCOMPARE(m_setup->server.requests().size(), 1);
    QCOMPARE(m_other->requests(), QStringList());
    QVERIFY(!m_setup->waitDialog());
    QVERIFY(m_setup->loadButton()->isEnabled());
    QCOMPARE(PrivateHome::read(m_setup->home.configPath()), before);
}

void TestWindowPreferences::resetKeptByEscapeIsNotReloaded()
{
    open();
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(usePreferences(m_setup->window(), [](PreferenceDialog& dialog) {
        windowClick(dialog.findChild<QPushButton*>(u"resetButton"_s));
        pressEscape(dialog);
    }));
    QCOMPARE(answers.titles(), QStringList{u"Success"_s});
    QVERIFY(m_setup->window().config().getParameter(u"webconfig"_s, u"baseURL"_s) !=
            m_setup->server.url());
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(m_setup->server.requests().size(), 2);
}

void TestWindowPreferences::acceptedDuringALoadReloadsAfterIt()
{
    open();
    bool isOpened = false;
    qsizetype duringDialog = -1;
    atNextRequest(m_setup->server, [&] {
        isOpened = usePreferences(m_setup->window(),
                                  [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); });
        duringDialog = m_other->requests().size();
    });
    QVERIFY(m_setup->window().action_loadWebData());
    QVERIFY(isOpened);
    QCOMPARE(duringDialog, 0); // not inside the load
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QCOMPARE(m_setup->server.requests().size(), 2);
    QCOMPARE(m_other->requests(), QStringList{u"/catalogue.csv"_s});
    QVERIFY(waitForScan());
    // Asked for once: the next load is one load.
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(m_other->requests().size(), 2);
}

void TestWindowPreferences::acceptedDuringALoadScansAfterTheReload()
{
    m_setup->install(u"Gamma"_s, "0.5");
    open();
    bool isScanning = true;
    atNextRequest(m_setup->server, [&] {
        QVERIFY(usePreferences(m_setup->window(),
                               [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    });
    atNextRequest(*m_other, [&] { isScanning = m_setup->waitDialog() != nullptr; });
    QVERIFY(m_setup->window().action_loadWebData());
    QVERIFY(!isScanning);
    QVERIFY(!m_setup->loadButton()->isEnabled());
    QVERIFY(waitForScan());
    QCOMPARE(m_setup->scans(), 1);
    QCOMPARE(m_setup->texts(1), (QStringList{QString(), u"0.5"_s}));
}

void TestWindowPreferences::acceptedDuringALoadColorsAtOnce()
{
    open();
    QStringList atOnce;
    QString duringReload;
    atNextRequest(m_setup->server, [&] {
        m_setup->window().config().setParameter(u"color"_s, u"base"_s, u"#102030"_s);
        QVERIFY(usePreferences(m_setup->window(),
                               [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
        atOnce = takeLog();
    });
    atNextRequest(*m_other, [&] { duringReload = color(0); });
    QVERIFY(m_setup->window().action_loadWebData());
    QVERIFY(atOnce.contains(u"[INFO] Current configuration's content:"_s));
    QVERIFY(!takeLog().contains(u"[INFO] Current configuration's content:"_s));
    // The load under way shows its rows in them already.
    QCOMPARE(duringReload, u"#102030"_s);
    QCOMPARE(color(0), u"#102030"_s);
    QVERIFY(waitForScan());
}

void TestWindowPreferences::acceptedDuringALoadThatFailsShowsNoBox()
{
    open();
    m_setup->offerNothing();
    atNextRequest(m_setup->server, [&] {
        QVERIFY(usePreferences(m_setup->window(),
                               [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    });
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(answers.count(), 0);
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(waitForScan());
}

void TestWindowPreferences::failedReloadAfterALoadIsToldOnce()
{
    open();
    m_setup->offerNothing();
    offerNothing(*m_other);
    atNextRequest(m_setup->server, [&] {
        QVERIFY(usePreferences(m_setup->window(),
                               [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    });
    BoxAnswerer answers(QMessageBox::Ok);
    qsizetype requestsAtBox = -1;
    answers.inspect([&](QMessageBox&) { requestsAtBox = m_other->requests().size(); });
    QVERIFY(!m_setup->window().action_loadWebData());
    QCOMPARE(answers.titles(), QStringList{u"File Error"_s});
    QCOMPARE(requestsAtBox, 1);
    QVERIFY(waitForScan());
    QCOMPARE(m_setup->scans(), 1);
}

void TestWindowPreferences::acceptedTwiceDuringLoadsReloadsWithTheLastSettings()
{
    HttpServer third;
    third.reply(u"catalogue.csv"_s, {.body = WindowSetup::catalogue({{"Zeta"}})});
    open();
    atNextRequest(m_setup->server, [&] {
        QVERIFY(usePreferences(m_setup->window(),
                               [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    });
    atNextRequest(*m_other, [&] {
        QVERIFY(usePreferences(m_setup->window(), [&](PreferenceDialog& dialog) {
            type(dialog, "baseURL", third.url());
            pressOk(dialog);
        }));
    });
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(names(), QStringList{u"Zeta"_s});
    QCOMPARE(m_other->requests().size(), 1);
    QCOMPARE(third.requests().size(), 1);
    QVERIFY(waitForScan());
}

void TestWindowPreferences::rejectedDuringALoadReloadsNothing()
{
    open();
    atNextRequest(m_setup->server, [&] {
        QVERIFY(usePreferences(m_setup->window(), [this](PreferenceDialog& dialog) {
            type(dialog, "baseURL", m_other->url());
            pressCancel(dialog);
        }));
    });
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(names(), QStringList{u"Alpha"_s});
    QCOMPARE(m_setup->server.requests().size(), 2);
    QCOMPARE(m_other->requests(), QStringList());
    QVERIFY(!m_setup->waitDialog());
}

void TestWindowPreferences::acceptedDuringALoadOfAWindowThatClosesIsKept()
{
    open();
    atNextRequest(m_setup->server, [&] {
        QVERIFY(usePreferences(m_setup->window(),
                               [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
        m_setup->window().close();
    });
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_setup->window().action_loadWebData());
    QCOMPARE(m_other->requests(), QStringList());
    QVERIFY(!m_setup->waitDialog());

    m_setup->window().show();
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(waitForScan());
    QCOMPARE(answers.count(), 0);
}

void TestWindowPreferences::acceptedDuringAScan()
{
    m_setup->install(u"Beta"_s, "0.5");
    open();
    m_setup->holdScans();
    m_setup->window().action_loadSysData();
    QTRY_COMPARE(m_setup->scans(), 1);
    // Behind the wait dialog the menu is out of reach, but a menu bar of the desktop is not.
    m_setup->waitDialog()->hide();
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(!m_setup->loadButton()->isEnabled());
    QVERIFY(m_setup->waitDialog()->isVisible());

    m_setup->releaseScans();
    QVERIFY(waitForScan());
    QVERIFY(!m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->texts(1), (QStringList{u"0.5"_s, QString()}));
    QCOMPARE(color(0), u"#ffdada"_s);
}

void TestWindowPreferences::acceptedAfterAFailedLoad()
{
    open();
    m_setup->offerNothing();
    {
        const BoxAnswerer answers(QMessageBox::Ok);
        QVERIFY(!m_setup->window().action_loadWebData());
        QCOMPARE(answers.count(), 1);
    }
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(waitForScan());
    QCOMPARE(answers.count(), 0);
}

void TestWindowPreferences::acceptedWhenTheScanHasFoundEverything()
{
    m_setup->install(u"Beta"_s, "0.5");
    open();
    QVERIFY(m_setup->scan());
    m_setup->install(u"Beta"_s, "1.0");
    m_setup->install(u"Gamma"_s, "1.5");
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QVERIFY(waitForScan());
    QCOMPARE(m_setup->scans(), 2);
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, u"1.5"_s}));
    QCOMPARE(color(0), u"#daffda"_s);
    QCOMPARE(color(1), u"#dadaff"_s);
}

void TestWindowPreferences::downloadFollowsItsRow()
{
    DownloadBench bench(DownloadBench::Held);
    bench.list({{.name = u"Atlas"_s}});
    bench.open();
    bench.pressDownload(0);
    QTRY_COMPARE(bench.held().waiting(u"soft/tool.dmg"_s), 1);
    m_other->reply(u"other.csv"_s, {.body = WindowSetup::catalogue({{"Beta"}, {"Atlas", "3.0"}})});

    QVERIFY(usePreferences(bench.window(), [this](PreferenceDialog& dialog) {
        type(dialog, "csvPath", m_other->url(u"other.csv"_s));
        pressOk(dialog);
    }));
    QVERIFY(bench.waitForScan());
    QCOMPARE(bench.looks(), (QStringList{u"1.0 ⤓ #d4d4d4"_s, u"0% ✕ bar 0"_s}));
    (void)bench.takeActivity();

    bench.held().answer(u"soft/tool.dmg"_s, "body");
    QVERIFY(bench.waitForLook(1, u"3.0 ⤓ #d4d4d4"_s));
    QVERIFY(bench.waitForScan());
    QCOMPARE(bench.saved(u"tool.dmg"_s), "body");
}

void TestWindowPreferences::downloadWhoseNameIsGoneIsAborted()
{
    DownloadBench bench(DownloadBench::Held);
    bench.list({{.name = u"Atlas"_s}});
    bench.open();
    bench.pressDownload(0);
    QTRY_COMPARE(bench.held().waiting(u"soft/tool.dmg"_s), 1);
    (void)bench.takeActivity();

    QVERIFY(usePreferences(bench.window(), [this](PreferenceDialog& dialog) {
        type(dialog, "csvPath", m_other->url(u"catalogue.csv"_s));
        pressOk(dialog);
    }));
    QVERIFY(bench.waitForScan());
    QCOMPARE(bench.looks(), QStringList(2, u"1.0 ⤓ #d4d4d4"_s));
    QCOMPARE(bench.takeActivity(),
             (QStringList{u"[INFO] Download - 'Atlas' → aborted, no longer in the catalogue"_s,
                          u"scan"_s}));
    QTRY_COMPARE(bench.held().waiting(u"soft/tool.dmg"_s), 0);
    QCOMPARE(bench.savedNames(), QStringList());
}

void TestWindowPreferences::downloadEndsDuringAnOpenDialog()
{
    DownloadBench bench(DownloadBench::Held);
    bench.list({{.name = u"Atlas"_s}});
    bench.open();
    bench.pressDownload(0);
    QTRY_COMPARE(bench.held().waiting(u"soft/tool.dmg"_s), 1);

    bool isSaved = false;
    QVERIFY(usePreferences(bench.window(), [&](PreferenceDialog& dialog) {
        bench.held().answer(u"soft/tool.dmg"_s, "body");
        isSaved = bench.waitForLook(0, u"2.0 ⤓ #d4d4d4"_s) && bench.waitForScan();
        pressOk(dialog);
    }));
    QVERIFY(isSaved);
    QVERIFY(bench.waitForScan());
    QCOMPARE(bench.saved(u"tool.dmg"_s), "body");
    QCOMPARE(bench.looks(), QStringList{u"2.0 ⤓ #d4d4d4"_s});
}

void TestWindowPreferences::deletedFileIsWrittenAnew()
{
    open();
    QVERIFY(QFile::remove(m_setup->home.configPath()));
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(PrivateHome::read(m_setup->home.configPath())
                .contains("<baseURL>" + m_other->url().toUtf8() + "</baseURL>"));
    QVERIFY(waitForScan());
}

void TestWindowPreferences::failedSaveIsToldAndTheSettingsAreUsed()
{
    open();
    // A folder in the file's place cannot be written, not even by root.
    QVERIFY(QFile::remove(m_setup->home.configPath()));
    QVERIFY(QDir().mkpath(m_setup->home.configPath()));
    BoxAnswerer answers(QMessageBox::Ok);
    qsizetype requestsAtBox = -1;
    answers.inspect([&](QMessageBox&) { requestsAtBox = m_other->requests().size(); });
    QVERIFY(usePreferences(m_setup->window(),
                           [this](PreferenceDialog& dialog) { moveToOtherServer(dialog); }));
    QCOMPARE(answers.titles(), QStringList{u"Error"_s});
    QCOMPARE(answers.texts(), QStringList{saveFailed});
    QCOMPARE(requestsAtBox, 0);
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(waitForScan());
}

void TestWindowPreferences::emptyStoreIsToldAndLosesNothing_data()
{
    QTest::addColumn<bool>("isFolder");

    QTest::newRow("file that cannot be read") << true;
    QTest::newRow("folder that cannot be made") << false;
}

void TestWindowPreferences::emptyStoreIsToldAndLosesNothing()
{
    QFETCH(bool, isFolder);
    QVERIFY(QDir(m_setup->home.path() + "/Library"_L1).removeRecursively());
    if (isFolder) {
        QVERIFY(QDir().mkpath(m_setup->home.configPath()));
    } else {
        m_setup->home.write(u"Library"_s, "a file");
    }
    m_setup->open();
    QStringList shown;
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(usePreferences(m_setup->window(), [&](PreferenceDialog& dialog) {
        for (const auto* edit : dialog.findChildren<QLineEdit*>()) {
            shown.append(edit->text());
        }
        moveToOtherServer(dialog);
    }));
    QCOMPARE(shown, QStringList(5, QString()));
    QCOMPARE(answers.titles(), (QStringList{u"Error"_s, u"File Error"_s}));
    QCOMPARE(answers.texts().constFirst(), saveFailed);
    QVERIFY(answers.texts().constLast().startsWith(u"Ressources internet inaccessibles"_s));
    QCOMPARE(m_other->requests(), QStringList());
    QVERIFY(waitForScan());
    QCOMPARE(m_setup->scans(), 1);
    QCOMPARE(QFile::exists(m_setup->home.configPath()), isFolder);
}

void TestWindowPreferences::closedWindowStaysSilentAndKeepsTheSettings()
{
    open();
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(usePreferences(m_setup->window(), [this](PreferenceDialog& dialog) {
        m_setup->window().close();
        moveToOtherServer(dialog);
    }));
    QVERIFY(!m_setup->window().isVisible());
    QVERIFY(!m_setup->waitDialog());
    QCOMPARE(m_setup->scans(), 0);
    QCOMPARE(m_other->requests(), QStringList());
    QVERIFY(PrivateHome::read(m_setup->home.configPath())
                .contains("<baseURL>" + m_other->url().toUtf8() + "</baseURL>"));

    m_setup->window().show();
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(names(), (QStringList{u"Beta"_s, u"Gamma"_s}));
    QVERIFY(waitForScan());
    QCOMPARE(answers.count(), 0);
}

void TestWindowPreferences::windowClosedBeforeARejectionStaysClosed()
{
    open();
    QVERIFY(usePreferences(m_setup->window(), [this](PreferenceDialog& dialog) {
        m_setup->window().close();
        pressCancel(dialog);
    }));
    QVERIFY(!m_setup->window().isVisible());
    QCOMPARE(m_setup->server.requests().size(), 1);
}

QTEST_MAIN(TestWindowPreferences)
#include "tst_windowpreferences.moc"
