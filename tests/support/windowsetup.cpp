#include "support/windowsetup.h"

#include "support/cataloguetext.h"
#include "support/quietplatform.h"
#include "ui/waitdialog.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

WindowSetup::WindowSetup()
{
    quietPlatform();
    configure({});
}

void WindowSetup::configure(Settings settings) const
{
    settings.baseUrl = server.url();
    settings.softPath = u"software/"_s;
    home.write(u"Library/Quillmere/config.xml"_s, settingsXml(settings));
}

void WindowSetup::offer(const QList<Entry>& entries)
{
    answer({.body = catalogue(entries)});
}

void WindowSetup::answer(const HttpReply& reply)
{
    server.forget();
    server.reply(u"catalogue.csv"_s, reply);
}

QByteArray WindowSetup::catalogue(const QList<Entry>& entries)
{
    QByteArray text = catalogueTitles;
    for (const Entry& entry : entries) {
        text += catalogueLine(entry.name, entry.version, entry.releaseDate, entry.filename);
    }
    return text;
}

void WindowSetup::install(const QString& name, const QByteArray& version)
{
    // Never without an Info.plist, which a null text would mean.
    machine.install(name, u""_s + QString::fromUtf8(version));
}

qsizetype WindowSetup::scans() const
{
    return machine.calls(u"find"_s).size();
}

bool WindowSetup::scan() const
{
    m_window->action_loadSysData();
    // Longer than the program lets a scan last.
    return QTest::qWaitFor([this] { return loadButton()->isEnabled(); }, 40'000);
}

MainWindow& WindowSetup::create()
{
    m_window = std::make_unique<MainWindow>();
    return *m_window;
}

MainWindow& WindowSetup::open(TestLine at)
{
    create();
    m_window->show();
    m_window->activateWindow();
    if (!QTest::qWaitForWindowActive(m_window.get())) {
        QTest::qFail("the window does not become active", at.file, at.line);
    }
    return *m_window;
}

QPushButton* WindowSetup::loadButton() const
{
    return child<QPushButton>(u"LoadButton"_s);
}

QTableWidget* WindowSetup::table() const
{
    return child<QTableWidget>(u"tableWidget"_s);
}

QString WindowSetup::text(int row, int column) const
{
    const QTableWidgetItem* item = table()->item(row, column);
    return item ? item->text() : u"no item"_s;
}

QStringList WindowSetup::texts(int column) const
{
    QStringList texts;
    for (int row = 0; row < table()->rowCount(); ++row) {
        texts.append(text(row, column));
    }
    return texts;
}

WaitDialog* WindowSetup::waitDialog() const
{
    return m_window->findChild<WaitDialog*>();
}
