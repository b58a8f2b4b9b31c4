#include "support/windowsetup.h"

#include "app/debug.h"
#include "support/modalbox.h"
#include "support/windowclick.h"
#include "ui/waitdialog.h"

#include <QApplication>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QHeaderView>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QMetaMethod>
#include <QScopeGuard>
#include <QSet>
#include <QTest>
#include <QTranslator>

#include <functional>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString noCatalogue = u"Ressources internet inaccessibles"_s;

/// Notes what is opened in place of the desktop.
class Desktop : public QObject
{
    Q_OBJECT

public:
    Desktop() { QDesktopServices::setUrlHandler(u"file"_s, this, "open"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler(u"file"_s); }
    [[nodiscard]] QList<QUrl> opened() const { return m_opened; }

public Q_SLOTS:
    void open(const QUrl& url) { m_opened.append(url); }

private:
    QList<QUrl> m_opened;
};

/// Notes the texts that pass through Qt's translation in one context.
class Translator : public QTranslator
{
public:
    explicit Translator(const char* context) : m_context(context)
    {
        QCoreApplication::installTranslator(this);
    }
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char* context, const char* text, const char*,
                                    int) const override
    {
        if (m_context == context) {
            m_texts.insert(QString::fromUtf8(text));
        }
        return {};
    }
    [[nodiscard]] QSet<QString> texts() const { return m_texts; }

private:
    QByteArray m_context;
    mutable QSet<QString> m_texts;
};

/// Calls back for each message that Qt's output gets, as long as it lives.
class MessageWatch
{
public:
    using Callback = std::function<void(QtMsgType, const QString&)>;

    explicit MessageWatch(Callback callback)
    {
        s_callback = std::move(callback);
        m_former = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&,
                                             const QString& text) { s_callback(type, text); });
    }
    ~MessageWatch()
    {
        qInstallMessageHandler(m_former);
        s_callback = nullptr;
    }
    Q_DISABLE_COPY_MOVE(MessageWatch)

private:
    static inline Callback s_callback;
    QtMessageHandler m_former;
};

/// Asks for a scan by itself, in the very moment in which the window has seen one end.
class EagerUser : public QObject
{
public:
    EagerUser(const WindowSetup& setup, int scans) : m_button(setup.loadButton()), m_scans(scans)
    {
        m_button->installEventFilter(this);
        windowClick(m_button);
    }
    [[nodiscard]] int scansLeft() const { return m_scans; }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::EnabledChange && m_button->isEnabled() && --m_scans > 0) {
            QMetaObject::invokeMethod(m_button, &QPushButton::click, Qt::QueuedConnection);
        }
        return false;
    }

private:
    QPushButton* m_button;
    int m_scans;
};

qsizetype visibleWindows()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::count_if(windows.begin(), windows.end(),
                         [](const QWidget* window) { return window->isVisible(); });
}

QStringList objectNames(const QList<QAction*>& actions)
{
    QStringList names;
    for (const QAction* action : actions) {
        names.append(action->menu<QMenu*>() ? action->menu<QMenu*>()->objectName()
                                            : action->objectName());
    }
    return names;
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    // The form
    void hasItsWidgetsAndActions_data();
    void hasItsWidgetsAndActions();
    void setsThem_data();
    void setsThem();
    void layoutsHoldOneAnother();
    void headersAreSetUp();
    void menusHoldTheirActionsInOrder_data();
    void menusHoldTheirActionsInOrder();
    void titleNamesProductAndVersion();
    void widthIsFixedAndHeightIsNot();
    void columnsHaveTheirWidths();
    void textsPassThroughTranslation();
    void isBuiltWithoutAWarning();
    void slotsStandInOrder();

    // Settings
    void logsItsSettings_data();
    void logsItsSettings();
    void handsOutItsSettings();
    void catalogueIsReadAsConfigured();

    // Actions and shortcuts
    void inertActionsDoNothing_data();
    void inertActionsDoNothing();
    void reloadsTheCatalogue_data();
    void reloadsTheCatalogue();
    void opensTheLogFile_data();
    void opensTheLogFile();
    void opensNoLogBeforeThereIsOne();

    // The catalogue's load
    void loadsTheCatalogue();
    void reportsACatalogueWithoutEntries();
    void reportsAnUnreachableCatalogue();
    void failedReloadLeavesTheTable();
    void rowsWithoutRecordsAreLeftAlone();
    void rowsStayDuringTheLoad();
    void refusesToLoadInsideALoad();
    void loadsAgainAfterARefusal();

    // The scan
    void startsAScan_data();
    void startsAScan();
    void secondRequestDuringAScanDoesNothing();
    void waitDialogIsOneForAllScans();
    void endOfTheScanArrivesOnTheInterfaceThread();
    void scanAskedForRightAfterAnotherEnds();
    void endOfAnEarlierScanEndsNothing();
    void scanEndsDuringALoad();
    void windowGoesDuringAScan();

    // The window closed by the user
    void closingEndsTheLoad_data();
    void closingEndsTheLoad();
    void closingInThePauseEndsTheLoad();
    void closedWindowStartsNoScan();
    void closedDuringAScanItStaysClosed();
    void shownAgainEverythingWorks();

private:
    [[nodiscard]] QObject* object(const QString& name) const;
    /// Opens a window with a table of three rows, scanned.
    MainWindow& openFilled();

    std::optional<WindowSetup> m_setup;
    std::optional<qsizetype> m_openedBeforeInit; ///< URLs opened while there was no log
};

void TestMainWindow::initTestCase()
{
    // Here, because a log once opened stays.
    QVERIFY(Debug::logFilePath().isEmpty());
    const PrivateHome home;
    const Desktop desktop;
    MainWindow window;
    window.openLogFile();
    m_openedBeforeInit = desktop.opened().size();
}

void TestMainWindow::init()
{
    m_setup.emplace();
}

void TestMainWindow::cleanup()
{
    m_setup.reset();
}

QObject* TestMainWindow::object(const QString& name) const
{
    MainWindow& window = m_setup->window();
    return window.objectName() == name ? &window : window.findChild<QObject*>(name);
}

MainWindow& TestMainWindow::openFilled()
{
    m_setup->offer({{"Synth"}, {"Mixer", "2.0"}, {"Tuner"}});
    m_setup->install(u"Synth"_s, "1.0");
    m_setup->install(u"Mixer"_s, "1.5");
    MainWindow& window = m_setup->open();
    if (!window.action_loadWebData() || !m_setup->scan()) {
        qFatal("the window does not load");
    }
    return window;
}

void TestMainWindow::hasItsWidgetsAndActions_data()
{
    QTest::addColumn<QByteArray>("className");
    const auto row = [](const char* name, const char* className) {
        QTest::newRow(name) << QByteArray(className);
    };
    row("MainWindow", "MainWindow");
    row("actionAbout", "QAction");
    row("actionReload", "QAction");
    row("actionReloadWebData", "QAction");
    row("actionReloadSystemData", "QAction");
    row("actionPreferences", "QAction");
    row("actionTest", "QAction");
    row("actionOpenLog", "QAction");
    row("centralwidget", "QWidget");
    row("gridLayout", "QGridLayout");
    row("verticalLayout", "QVBoxLayout");
    row("groupBox", "QGroupBox");
    row("gridLayout_2", "QGridLayout");
    row("LoadButton", "QPushButton");
    row("tableWidget", "QTableWidget");
    row("menubar", "QMenuBar");
    row("menuTools", "QMenu");
    row("menuHelp", "QMenu");
    row("menuEdit", "QMenu");
}

void TestMainWindow::hasItsWidgetsAndActions()
{
    QFETCH(QByteArray, className);
    m_setup->create();
    const QObject* found = object(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(found);
    QCOMPARE(found->metaObject()->className(), className);
}

void TestMainWindow::setsThem_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char* name, const char* property, const QVariant& value) {
        QTest::addRow("%s: %s", name, property)
            << QString::fromLatin1(name) << QByteArray(property) << value;
    };
    const auto key = [](const char* keys) { return QKeySequence(QString::fromLatin1(keys)); };

    row("MainWindow", "size", QSize(630, 563));
    row("actionAbout", "text", u"About"_s);
    row("actionAbout", "shortcut", key(""));
    row("actionReload", "text", u"Reload"_s);
    row("actionReload", "shortcut", key("Ctrl+R"));
    row("actionReloadWebData", "text", u"Reload Web Data"_s);
    row("actionReloadWebData", "shortcut", key("Ctrl+Shift+R"));
    row("actionReloadSystemData", "text", u"Scan System"_s);
    row("actionReloadSystemData", "shortcut", key("Ctrl+S"));
    row("actionPreferences", "text", u"Preferences..."_s);
    row("actionPreferences", "shortcut", key(""));
    row("actionTest", "text", u"Test"_s);
    row("actionTest", "shortcut", key(""));
    row("actionOpenLog", "text", u"Open Log File"_s);
    row("actionOpenLog", "shortcut", key(""));
    row("gridLayout", "contentsMargins", QVariant::fromValue(QMargins(12, 0, 12, 0)));
    row("verticalLayout", "contentsMargins", QVariant::fromValue(QMargins(0, 0, 0, 12)));
    row("gridLayout_2", "contentsMargins", QVariant::fromValue(QMargins(12, 12, 12, 12)));
    row("groupBox", "title", u"Applications"_s);
    row("LoadButton", "text", u"Actualiser les versions locales (⌘+S)"_s);
    row("LoadButton", "minimumSize", QSize(250, 0));
    row("LoadButton", "maximumSize", QSize(250, QWIDGETSIZE_MAX));
    row("LoadButton", "layoutDirection", QVariant::fromValue(Qt::LeftToRight));
    row("LoadButton", "enabled", true);
    row("tableWidget", "enabled", true);
    row("tableWidget", "columnCount", 3);
    row("tableWidget", "rowCount", 0);
    row("tableWidget", "verticalScrollBarPolicy", QVariant::fromValue(Qt::ScrollBarAsNeeded));
    row("tableWidget", "horizontalScrollBarPolicy", QVariant::fromValue(Qt::ScrollBarAlwaysOff));
    row("tableWidget", "editTriggers",
        QVariant::fromValue(QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers)));
    row("tableWidget", "selectionMode", QVariant::fromValue(QAbstractItemView::NoSelection));
    row("menuTools", "title", u"Tools"_s);
    row("menuHelp", "title", u"Help"_s);
    row("menuEdit", "title", u"Edit"_s);
}

void TestMainWindow::setsThem()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, property);
    QFETCH(QVariant, value);
    m_setup->create();
    const QObject* found = object(name);
    QVERIFY(found);
    QVERIFY(found->metaObject()->indexOfProperty(property.constData()) >= 0);
    QCOMPARE(found->property(property.constData()), value);
}

void TestMainWindow::layoutsHoldOneAnother()
{
    const MainWindow& window = m_setup->create();
    auto* outer = m_setup->child<QGridLayout>(u"gridLayout"_s);
    auto* column = m_setup->child<QVBoxLayout>(u"verticalLayout"_s);
    auto* inner = m_setup->child<QGridLayout>(u"gridLayout_2"_s);
    auto* box = m_setup->child<QGroupBox>(u"groupBox"_s);

    QCOMPARE(window.centralWidget()->objectName(), u"centralwidget"_s);
    QCOMPARE(window.centralWidget()->layout(), outer);
    QCOMPARE(outer->count(), 1);
    QCOMPARE(outer->itemAtPosition(0, 0)->layout(), column);
    QCOMPARE(column->count(), 1);
    QCOMPARE(column->itemAt(0)->widget(), box);
    QCOMPARE(box->layout(), inner);
    QCOMPARE(inner->count(), 2);
    QCOMPARE(inner->itemAtPosition(0, 0)->widget(), m_setup->table());
    QCOMPARE(inner->itemAtPosition(1, 0)->widget(), m_setup->loadButton());
    QCOMPARE(inner->itemAtPosition(1, 0)->alignment(), Qt::AlignHCenter);

    QGroupBox plain;
    const QGridLayout styled(&plain);
    QCOMPARE(inner->horizontalSpacing(), styled.horizontalSpacing());
}

void TestMainWindow::headersAreSetUp()
{
    m_setup->open();
    const QTableWidget* table = m_setup->table();
    QStringList titles;
    for (int column = 0; column < table->columnCount(); ++column) {
        titles.append(table->horizontalHeaderItem(column)->text());
    }
    QCOMPARE(titles, (QStringList{u"Applications"_s, u"Version Locale"_s, u"Version Internet"_s}));

    const QHeaderView* across = table->horizontalHeader();
    QVERIFY(across->isVisible());
    QVERIFY(across->cascadingSectionResizes());
    QCOMPARE(across->defaultSectionSize(), 186);
    QVERIFY(across->highlightSections());
    QCOMPARE(across->property("showSortIndicator"), QVariant(false));
    QVERIFY(!across->stretchLastSection());

    const QHeaderView* down = table->verticalHeader();
    QVERIFY(!down->cascadingSectionResizes());
    QVERIFY(down->highlightSections());
}

void TestMainWindow::menusHoldTheirActionsInOrder_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("menubar") << QStringList{u"menuEdit"_s, u"menuTools"_s, u"menuHelp"_s};
    QTest::newRow("menuEdit") << QStringList{u"actionReloadWebData"_s, u"actionReloadSystemData"_s};
    QTest::newRow("menuTools") << QStringList{u"actionOpenLog"_s};
    QTest::newRow("menuHelp") << QStringList{u"actionAbout"_s, u"actionPreferences"_s};
}

void TestMainWindow::menusHoldTheirActionsInOrder()
{
    QFETCH(QStringList, entries);
    MainWindow& window = m_setup->create();
    QCOMPARE(window.menuBar()->objectName(), u"menubar"_s);
    auto* menu = m_setup->child<QWidget>(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(objectNames(menu->actions()), entries);
}

void TestMainWindow::titleNamesProductAndVersion()
{
    QCOMPARE(m_setup->create().windowTitle(), u"Quillmere v26.3.0"_s);
}

void TestMainWindow::widthIsFixedAndHeightIsNot()
{
    MainWindow& window = m_setup->open();
    QCOMPARE(window.minimumWidth(), 630);
    QCOMPARE(window.maximumWidth(), 630);
    QCOMPARE(window.maximumHeight(), QWIDGETSIZE_MAX);
    window.resize(900, 700);
    QCOMPARE(window.size(), QSize(630, 700));
}

void TestMainWindow::columnsHaveTheirWidths()
{
    m_setup->create();
    QCOMPARE(m_setup->table()->columnWidth(0), 211);
    QCOMPARE(m_setup->table()->columnWidth(1), 174);
    QCOMPARE(m_setup->table()->columnWidth(2), 174);
}

void TestMainWindow::textsPassThroughTranslation()
{
    const Translator translator("MainWindow");
    const MainWindow window;
    for (const QString& text :
         {u"MainWindow"_s, u"About"_s, u"Reload"_s, u"Reload Web Data"_s, u"Scan System"_s,
          u"Preferences..."_s, u"Test"_s, u"Open Log File"_s, u"Applications"_s,
          u"Actualiser les versions locales (⌘+S)"_s, u"Version Locale"_s, u"Version Internet"_s,
          u"Tools"_s, u"Help"_s, u"Edit"_s}) {
        QVERIFY2(translator.texts().contains(text), qUtf8Printable(text));
    }
}

void TestMainWindow::isBuiltWithoutAWarning()
{
    QStringList warnings;
    {
        const MessageWatch watch([&warnings](QtMsgType type, const QString& text) {
            if (type != QtDebugMsg) {
                warnings.append(text);
            }
        });
        const MainWindow window;
    }
    QCOMPARE(warnings, QStringList());
}

void TestMainWindow::slotsStandInOrder()
{
    const QMetaObject& meta = MainWindow::staticMetaObject;
    const auto place = [](const char* signature) {
        return MainWindow::staticMetaObject.indexOfSlot(signature);
    };
    QCOMPARE(place("action_loadSysData()"), meta.methodOffset());
    QCOMPARE(place("onSysDataLoaded()"), meta.methodOffset() + 1);
    QVERIFY(place("openLogFile()") > place("onSysDataLoaded()"));
}

void TestMainWindow::logsItsSettings_data()
{
    QTest::addColumn<QString>("downloadFolder");
    QTest::addColumn<QString>("logged");
    QTest::newRow("a folder as it is set") << u"~/Down loads"_s << u"~/Down loads"_s;
    QTest::newRow("no folder") << QString() << u"(default: ~/Downloads)"_s;
    QTest::newRow("a folder with a percent sign") << u"/a%1b"_s << u"/a%1b"_s;
}

void TestMainWindow::logsItsSettings()
{
    QFETCH(QString, downloadFolder);
    QFETCH(QString, logged);
    Settings settings;
    settings.downloadFolder = downloadFolder;
    settings.csvPath = u"config/a b.csv"_s;
    m_setup->configure(settings);
    m_setup->create();
    QCOMPARE(m_setup->home.logLines().filter(u"] Config - "_s),
             (QStringList{u"[INFO] Config - Base URL: "_s + m_setup->server.url(),
                          u"[INFO] Config - CSV: config/a b.csv"_s,
                          u"[INFO] Config - Download folder: "_s + logged}));
}

void TestMainWindow::handsOutItsSettings()
{
    MainWindow& window = m_setup->create();
    QCOMPARE(window.config().filePath(), m_setup->home.configPath());
    QCOMPARE(window.config().getParameter(u"webconfig"_s, u"csvPath"_s), u"catalogue.csv"_s);
    QVERIFY(window.config().setParameter(u"color"_s, u"base"_s, u"blue"_s));
    QCOMPARE(window.config().getParameter(u"color"_s, u"base"_s), u"blue"_s);
}

void TestMainWindow::catalogueIsReadAsConfigured()
{
    Settings settings;
    settings.csvPath = u"config/mac.csv"_s;
    settings.csvSeparator = u";"_s;
    m_setup->configure(settings);
    m_setup->server.reply(u"config/mac.csv"_s,
                          {.body = "Name;Ignored;Version\nSynth, the second;0;1,0\n"});
    QVERIFY(m_setup->open().action_loadWebData());
    QCOMPARE(m_setup->server.requests(), QStringList{u"/config/mac.csv"_s});
    QCOMPARE(m_setup->texts(0), QStringList{u"Synth, the second"_s});
}

void TestMainWindow::inertActionsDoNothing_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("actionReload") << false;
    QTest::newRow("actionTest") << false;
    QTest::newRow("Control+R") << true;
}

void TestMainWindow::inertActionsDoNothing()
{
    QFETCH(bool, byKey);
    BoxAnswerer answers(QMessageBox::Ok);
    MainWindow& window = m_setup->open();
    const QStringList log = m_setup->home.logLines();
    if (byKey) {
        QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
    } else {
        QAction* action = m_setup->action(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(action->associatedObjects().isEmpty());
        action->trigger();
    }
    QCoreApplication::processEvents();
    QCOMPARE(m_setup->home.logLines(), log);
    QCOMPARE(m_setup->server.requests(), QStringList());
    QCOMPARE(answers.count(), 0);
    QVERIFY(m_setup->loadButton()->isEnabled());
}

void TestMainWindow::reloadsTheCatalogue_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("the menu entry") << false;
    QTest::newRow("Control+Shift+R") << true;
}

void TestMainWindow::reloadsTheCatalogue()
{
    QFETCH(bool, byKey);
    m_setup->offer({{"Synth"}});
    MainWindow& window = m_setup->open();
    if (byKey) {
        QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
    } else {
        m_setup->action(u"actionReloadWebData"_s)->trigger();
    }
    QCOMPARE(m_setup->server.requests(), QStringList{u"/catalogue.csv"_s});
    QCOMPARE(m_setup->texts(0), QStringList{u"Synth"_s});
    QVERIFY2(m_setup->loadButton()->isEnabled(), "the catalogue alone, no scan");
}

void TestMainWindow::opensTheLogFile_data()
{
    QTest::addColumn<bool>("byMenu");
    QTest::newRow("the menu entry") << true;
    QTest::newRow("the slot") << false;
}

void TestMainWindow::opensTheLogFile()
{
    QFETCH(bool, byMenu);
    // A folder whose name would not survive as a URL's text.
    const QString odd = m_setup->home.path() + "/é #1?%20"_L1;
    qputenv("HOME", odd.toLocal8Bit());
    Debug::init();
    const Desktop desktop;
    MainWindow& window = m_setup->create();
    if (byMenu) {
        m_setup->action(u"actionOpenLog"_s)->trigger();
    } else {
        window.openLogFile();
    }
    const QString path = odd + "/Library/Quillmere/quillmere.log"_L1;
    QCOMPARE(desktop.opened(), QList<QUrl>{QUrl::fromLocalFile(path)});
    QCOMPARE(desktop.opened().constFirst().toLocalFile(), path);
}

void TestMainWindow::opensNoLogBeforeThereIsOne()
{
    QCOMPARE(m_openedBeforeInit, std::optional<qsizetype>(0));
}

void TestMainWindow::loadsTheCatalogue()
{
    BoxAnswerer answers(QMessageBox::Ok);
    m_setup->offer({{"Tuner"}, {"Mixer"}, {"Amp"}});
    MainWindow& window = m_setup->open();
    QVERIFY(window.action_loadWebData());
    QCOMPARE(m_setup->texts(0), (QStringList{u"Tuner"_s, u"Mixer"_s, u"Amp"_s}));
    m_setup->offer({{"Amp"}});
    QVERIFY(window.action_loadWebData());
    QCOMPARE(m_setup->texts(0), QStringList{u"Amp"_s});
    QCOMPARE(answers.count(), 0);
}

void TestMainWindow::reportsACatalogueWithoutEntries()
{
    m_setup->answer({.body = "Name,Ignored\n"});
    MainWindow& window = m_setup->open();
    QWidget* parent = nullptr;
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    bool isModal = false;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([&](QMessageBox& box) {
        parent = box.parentWidget();
        buttons = box.standardButtons();
        icon = box.icon();
        isModal = box.isModal();
    });

    QVERIFY(!window.action_loadWebData());

    QCOMPARE(answers.titles(), QStringList{u"File Error"_s});
    QCOMPARE(answers.texts(),
             QStringList{noCatalogue + u"\n\nCSV reçu (13 octets) mais aucune entrée valide — "
                                       "format inattendu"_s});
    QCOMPARE(parent, &window);
    QCOMPARE(icon, QMessageBox::Critical);
    QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(isModal);
    QCOMPARE(m_setup->table()->rowCount(), 0);
}

void TestMainWindow::reportsAnUnreachableCatalogue()
{
    // A reason with a percent sign, which must not be taken for a place to fill in.
    Settings settings;
    settings.csvPath = u"missing%1F.csv"_s;
    m_setup->configure(settings);
    MainWindow& window = m_setup->open();
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!window.action_loadWebData());
    const QString logged =
        m_setup->home.logLines().filter(u"[ERROR] WebProfiler - Network error: "_s).value(1);
    QVERIFY2(logged.contains(u"%1F"), qUtf8Printable(logged));
    QVERIFY2(logged.endsWith(u" (HTTP 404)"), qUtf8Printable(logged));
    QCOMPARE(answers.titles(), QStringList{u"File Error"_s});
    QCOMPARE(answers.texts(), QStringList{noCatalogue + "\n\n"_L1 + logged.section(u": "_s, 1)});
}

void TestMainWindow::failedReloadLeavesTheTable()
{
    MainWindow& window = openFilled();
    const QTableWidget* table = m_setup->table();
    const QList<QTableWidgetItem*> items = {table->item(0, 0), table->item(1, 1),
                                            table->item(2, 2)};
    const QWidget* cell = table->cellWidget(2, 2);
    const QColor color = table->item(1, 0)->background().color();
    m_setup->offerNothing();
    BoxAnswerer answers(QMessageBox::Ok);

    QVERIFY(!window.action_loadWebData());

    QCOMPARE(answers.count(), 1);
    QCOMPARE(table->rowCount(), 3);
    QCOMPARE((QList{table->item(0, 0), table->item(1, 1), table->item(2, 2)}), items);
    QCOMPARE(table->cellWidget(2, 2), cell);
    QCOMPARE(m_setup->texts(0), (QStringList{u"Synth"_s, u"Mixer"_s, u"Tuner"_s}));
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, u"1.5"_s, QString()}));
    QCOMPARE(table->item(1, 0)->background().color(), color);
}

void TestMainWindow::rowsWithoutRecordsAreLeftAlone()
{
    MainWindow& window = openFilled();
    const QColor down = m_setup->table()->item(1, 0)->background().color();
    m_setup->offerNothing();
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!window.action_loadWebData());
    m_setup->install(u"Tuner"_s, "3.0");
    m_setup->uninstall(u"Synth"_s);

    window.table_update();
    window.table_setColor();
    window.onSysDataLoaded();
    QVERIFY(m_setup->scan());
    for (const int row : {-1, 3, 1000}) {
        window.table_setRowColor(row, Qt::red);
    }

    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, u"1.5"_s, QString()}));
    QCOMPARE(m_setup->table()->item(1, 0)->background().color(), down);

    m_setup->offer({{"Synth"}, {"Mixer", "2.0"}, {"Tuner"}});
    QVERIFY(window.action_loadWebData());
    QCOMPARE(m_setup->texts(1), (QStringList{QString(), u"1.5"_s, u"3.0"_s}));
}

void TestMainWindow::rowsStayDuringTheLoad()
{
    MainWindow& window = openFilled();
    m_setup->offer({{"Amp"}});
    QStringList names;
    QStringList versions;
    connect(&m_setup->server, &HttpServer::requested, &window, [&] {
        window.table_update();
        window.table_setColor();
        window.table_setRowColor(2, Qt::red);
        window.onSysDataLoaded();
        names = m_setup->texts(0);
        versions = m_setup->texts(1);
    });
    QVERIFY(window.action_loadWebData());
    QCOMPARE(names, (QStringList{u"Synth"_s, u"Mixer"_s, u"Tuner"_s}));
    QCOMPARE(versions, (QStringList{u"1.0"_s, u"1.5"_s, QString()}));
    QCOMPARE(m_setup->texts(0), QStringList{u"Amp"_s});
}

void TestMainWindow::refusesToLoadInsideALoad()
{
    MainWindow& window = openFilled();
    m_setup->offer({{"Amp", "4.0"}});
    const qsizetype requestsBefore = m_setup->server.requests().size();
    const qsizetype logBefore = m_setup->home.logLines().size();
    BoxAnswerer answers(QMessageBox::Ok);
    std::optional<bool> result;
    QStringList logged;
    connect(
        &m_setup->server, &HttpServer::requested, &window,
        [&] {
            logged = m_setup->home.logLines();
            result = window.action_loadWebData();
            m_setup->action(u"actionReloadWebData"_s)->trigger();
            QCOMPARE(m_setup->home.logLines(), logged);
            QCOMPARE(m_setup->table()->rowCount(), 3);
        },
        Qt::SingleShotConnection);

    QVERIFY(window.action_loadWebData());

    QCOMPARE(result, std::optional<bool>(false));
    QCOMPARE(m_setup->server.requests().size(), requestsBefore + 1);
    QCOMPARE(answers.count(), 0);
    QCOMPARE(m_setup->texts(0), QStringList{u"Amp"_s});
    QCOMPARE(m_setup->home.logLines()
                 .mid(logBefore)
                 .filter(u"[INFO] WebProfiler - data Updating..."_s)
                 .size(),
             1);
}

void TestMainWindow::loadsAgainAfterARefusal()
{
    m_setup->offer({{"Synth"}});
    MainWindow& window = m_setup->open();
    connect(
        &m_setup->server, &HttpServer::requested, &window,
        [&window] { QVERIFY(!window.action_loadWebData()); }, Qt::SingleShotConnection);
    QVERIFY(window.action_loadWebData());
    m_setup->offer({{"Amp"}});
    QVERIFY(window.action_loadWebData());
    QCOMPARE(m_setup->texts(0), QStringList{u"Amp"_s});
}

void TestMainWindow::startsAScan_data()
{
    QTest::addColumn<std::function<void(WindowSetup&)>>("request");
    const auto row = [](const char* what, const std::function<void(WindowSetup&)>& request) {
        QTest::newRow(what) << request;
    };
    row("the button", [](WindowSetup& setup) { windowClick(setup.loadButton()); });
    row("Control+S", [](WindowSetup& setup) {
        QTest::keyClick(&setup.window(), Qt::Key_S, Qt::ControlModifier);
    });
    row("the menu entry",
        [](WindowSetup& setup) { setup.action(u"actionReloadSystemData"_s)->trigger(); });
    row("the slot", [](WindowSetup& setup) { setup.window().action_loadSysData(); });
}

void TestMainWindow::startsAScan()
{
    QFETCH(std::function<void(WindowSetup&)>, request);
    m_setup->holdScans();
    m_setup->open();
    QVERIFY(m_setup->loadButton()->isEnabled());
    QVERIFY(!m_setup->waitDialog());

    request(*m_setup);

    QVERIFY(!m_setup->loadButton()->isEnabled());
    QVERIFY(m_setup->action(u"actionReloadSystemData"_s)->isEnabled());
    QVERIFY(m_setup->waitDialog());
    QVERIFY(m_setup->waitDialog()->isVisible());
    QVERIFY(m_setup->waitDialog()->isModal());
    QCOMPARE(m_setup->waitDialog()->parentWidget(), &m_setup->window());
    QTRY_COMPARE_WITH_TIMEOUT(m_setup->scans(), 1, 10'000);
    QVERIFY2(!m_setup->loadButton()->isEnabled(), "until the scan's end");

    m_setup->releaseScans();
    QTRY_VERIFY_WITH_TIMEOUT(m_setup->loadButton()->isEnabled(), 10'000);
    QVERIFY(!m_setup->waitDialog()->isVisible());
}

void TestMainWindow::secondRequestDuringAScanDoesNothing()
{
    m_setup->holdScans();
    MainWindow& window = m_setup->open();
    window.action_loadSysData();
    QTRY_COMPARE_WITH_TIMEOUT(m_setup->scans(), 1, 10'000);
    m_setup->action(u"actionReloadSystemData"_s)->trigger();
    QVERIFY(!m_setup->loadButton()->isEnabled());
    m_setup->releaseScans();
    QTRY_VERIFY_WITH_TIMEOUT(m_setup->loadButton()->isEnabled(), 10'000);
    QVERIFY(!m_setup->waitDialog()->isVisible());
    // Which waits for a scan that might have been started.
    m_setup->destroyWindow();
    QCOMPARE(m_setup->scans(), 1);
}

void TestMainWindow::waitDialogIsOneForAllScans()
{
    m_setup->holdScans();
    MainWindow& window = m_setup->open();
    window.action_loadSysData();
    const WaitDialog* dialog = m_setup->waitDialog();
    window.action_loadSysData();
    QCOMPARE(visibleWindows(), 2);
    m_setup->releaseScans();
    QTRY_VERIFY_WITH_TIMEOUT(!dialog->isVisible(), 10'000);
    QVERIFY(m_setup->scan());
    QCOMPARE(window.findChildren<WaitDialog*>(), QList{const_cast<WaitDialog*>(dialog)});
}

void TestMainWindow::endOfTheScanArrivesOnTheInterfaceThread()
{
    class ThreadNote : public QObject
    {
    public:
        bool eventFilter(QObject*, QEvent* event) override
        {
            if (event->type() == QEvent::EnabledChange) {
                m_threads.append(QThread::currentThread());
            }
            return false;
        }
        QList<QThread*> m_threads;
    };
    m_setup->open();
    ThreadNote note;
    m_setup->loadButton()->installEventFilter(&note);
    QVERIFY(m_setup->scan());
    QCOMPARE(note.m_threads, (QList{thread(), thread()}));
}

void TestMainWindow::scanAskedForRightAfterAnotherEnds()
{
    m_setup->open();
    const int scans = 30;
    const EagerUser user(*m_setup, scans);
    QTRY_COMPARE_WITH_TIMEOUT(user.scansLeft(), 0, 30'000);
    QVERIFY(m_setup->loadButton()->isEnabled());
    QVERIFY(!m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->scans(), scans);
}

void TestMainWindow::endOfAnEarlierScanEndsNothing()
{
    MainWindow& window = openFilled();
    // The first one ends while the window is busy, so that its end is delivered only later.
    const auto ends = [this] {
        return m_setup->home.logLines().filter(u"SysProfiler - data updated"_s).size();
    };
    const qsizetype before = ends();
    window.action_loadSysData();
    const QDeadlineTimer patience(30'000);
    while (ends() == before && !patience.hasExpired()) {
        QThread::msleep(1);
    }
    QCOMPARE(ends(), before + 1);
    m_setup->install(u"Tuner"_s, "7.0");
    m_setup->holdScans();
    // The thread may not have come to its end yet: a request is taken up once it has.
    const qsizetype scans = m_setup->scans();
    while (m_setup->scans() == scans && !patience.hasExpired()) {
        window.action_loadSysData();
        QThread::msleep(1);
    }
    QCOMPARE(m_setup->scans(), scans + 1);
    const QStringList versions = m_setup->texts(1);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QVERIFY(!m_setup->loadButton()->isEnabled());
    QVERIFY(m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->texts(1), versions);

    m_setup->releaseScans();
    QTRY_VERIFY_WITH_TIMEOUT(m_setup->loadButton()->isEnabled(), 10'000);
    QVERIFY(!m_setup->waitDialog()->isVisible());
    QVERIFY(m_setup->texts(1).contains(u"7.0"_s));
}

void TestMainWindow::scanEndsDuringALoad()
{
    MainWindow& window = openFilled();
    m_setup->install(u"Tuner"_s, "3.0");
    m_setup->holdScans();
    window.action_loadSysData();
    // Slow enough for the scan to end before the catalogue is there.
    m_setup->answer({.body = WindowSetup::catalogue({{"Tuner"}, {"Synth"}}),
                     .manner = HttpReply::Trickle,
                     .trickleInterval = 5});
    connect(&m_setup->server, &HttpServer::requested, &window, [this] { m_setup->releaseScans(); });
    QVERIFY(window.action_loadWebData());
    QTRY_VERIFY_WITH_TIMEOUT(m_setup->loadButton()->isEnabled(), 10'000);
    QVERIFY(!m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->texts(1), (QStringList{u"3.0"_s, u"1.0"_s}));
}

void TestMainWindow::windowGoesDuringAScan()
{
    m_setup->holdScans();
    m_setup->open().action_loadSysData();
    QTRY_COMPARE_WITH_TIMEOUT(m_setup->scans(), 1, 10'000);
    m_setup->releaseScans();
    m_setup->destroyWindow();
    QCOMPARE(visibleWindows(), 0);
    QCOMPARE(m_setup->home.logLines().filter(u"[INFO] SysProfiler - data updated"_s).size(), 1);
}

void TestMainWindow::closingEndsTheLoad_data()
{
    QTest::addColumn<HttpReply>("reply");
    const auto row = [](const char* what, const HttpReply& reply) { QTest::newRow(what) << reply; };
    row("the server is silent", {.body = {}, .manner = HttpReply::Silent});
    row("the body comes slowly",
        {.body = QByteArray(1000, 'x'), .manner = HttpReply::Trickle, .trickleInterval = 20});
    row("a good answer is on its way", {.body = WindowSetup::catalogue({{"Synth"}})});
    row("an answer without entries is on its way", {.body = "Name,Ignored\n"});
    row("a failure is on its way: no further attempt", {.body = "no", .status = 404});
}

void TestMainWindow::closingEndsTheLoad()
{
    QFETCH(HttpReply, reply);
    m_setup->answer(reply);
    MainWindow& window = m_setup->open();
    connect(&m_setup->server, &HttpServer::requested, &window, &QWidget::close);
    BoxAnswerer answers(QMessageBox::Ok);
    QElapsedTimer timer;
    timer.start();

    QVERIFY(!window.action_loadWebData());

    QVERIFY2(timer.elapsed() < 5'000, "soon, not after the time-out");
    QCoreApplication::processEvents();
    QCOMPARE(answers.count(), 0);
    QCOMPARE(visibleWindows(), 0);
    QCOMPARE(m_setup->server.requests().size(), 1);
}

void TestMainWindow::closingInThePauseEndsTheLoad()
{
    MainWindow& window = m_setup->open();
    BoxAnswerer answers(QMessageBox::Ok);
    const MessageWatch watch([&window](QtMsgType, const QString& text) {
        if (text.endsWith(u"First attempt failed, retrying once in 2s...")) {
            QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
        }
    });
    m_setup->answer({.body = {}, .status = 500});
    QVERIFY(!window.action_loadWebData());
    QVERIFY(!window.isVisible());
    QCoreApplication::processEvents();
    QCOMPARE(answers.count(), 0);
    QCOMPARE(m_setup->server.requests().size(), 1);
}

void TestMainWindow::closedWindowStartsNoScan()
{
    m_setup->offer({{"Synth"}});
    MainWindow& window = m_setup->open();
    window.close();
    window.action_loadSysData();
    QCOMPARE(visibleWindows(), 0);
    QVERIFY(m_setup->loadButton()->isEnabled());
    m_setup->destroyWindow();
    QCOMPARE(m_setup->scans(), 0);
    QCOMPARE(m_setup->home.logLines().filter(u"New thread start"_s), QStringList());
}

void TestMainWindow::closedDuringAScanItStaysClosed()
{
    MainWindow& window = openFilled();
    m_setup->holdScans();
    window.action_loadSysData();
    window.close();
    m_setup->releaseScans();
    QTRY_VERIFY_WITH_TIMEOUT(m_setup->loadButton()->isEnabled(), 10'000);
    QCoreApplication::processEvents();
    QCOMPARE(visibleWindows(), 0);
}

void TestMainWindow::shownAgainEverythingWorks()
{
    m_setup->answer({.body = {}, .manner = HttpReply::Silent});
    MainWindow& window = m_setup->open();
    connect(&m_setup->server, &HttpServer::requested, &window, &QWidget::close,
            Qt::SingleShotConnection);
    QVERIFY(!window.action_loadWebData());
    window.action_loadSysData();
    m_setup->offer({{"Synth"}, {"Tuner"}});
    m_setup->install(u"Synth"_s, "1.0");

    window.show();
    QVERIFY(window.action_loadWebData());
    window.action_loadSysData();
    QVERIFY(m_setup->waitDialog()->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(m_setup->loadButton()->isEnabled(), 10'000);
    QVERIFY(!m_setup->waitDialog()->isVisible());
    QCOMPARE(m_setup->texts(0), (QStringList{u"Synth"_s, u"Tuner"_s}));
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, QString()}));

    m_setup->offerNothing();
    BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!window.action_loadWebData());
    QCOMPARE(answers.count(), 1);
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
