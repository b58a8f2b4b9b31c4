#include "support/windowsetup.h"

#include "app/debug.h"
#include "support/quietplatform.h"
#include "ui/waitdialog.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray element(const char* name, const QString& value)
{
    return '<' + QByteArray(name) + '>' + value.toHtmlEscaped().toUtf8() + "</" + name + '>';
}

} // namespace

WindowSetup::WindowSetup()
{
    quietPlatform();
    Debug::init();
    configure({});
    QDir(home.path()).mkpath(u"Applications"_s);
    commands.add(u"find"_s, "echo scan >>\"$HOME/scans\"\n"
                            "while [ -e \"$HOME/hold\" ]; do sleep 0.02; done\n"
                            "PATH=${PATH#*:}\n"
                            "exec find \"$HOME/Applications\" -type d -name '*.app'\n");
}

void WindowSetup::configure(const Settings& settings) const
{
    home.write(u"Library/Quillmere/config.xml"_s,
               "<root><color>" + element("base", settings.base) + element("down", settings.down) +
                   element("equal", settings.equal) + element("up", settings.up) +
                   "</color><webconfig>" + element("baseURL", server.url()) +
                   element("csvPath", settings.csvPath) +
                   element("csvSeparator", settings.csvSeparator) +
                   element("softPath", u"software/"_s) + "</webconfig><localconfig>" +
                   element("downloadFolder", settings.downloadFolder) + "</localconfig></root>");
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
    QByteArray text = "Name,Version,Release date,Filename,Ignored\n";
    for (const Entry& entry : entries) {
        text += entry.name + ',' + entry.version + ',' + entry.releaseDate + ',' + entry.filename +
                ",0\n";
    }
    return text;
}

void WindowSetup::install(const QString& name, const QByteArray& version) const
{
    home.write(u"Applications/"_s + name + ".app/Contents/Info.plist"_L1,
               "<plist><dict><key>CFBundleShortVersionString</key><string>" + version +
                   "</string></dict></plist>");
}

void WindowSetup::uninstall(const QString& name) const
{
    QDir(home.path() + "/Applications/"_L1 + name + ".app"_L1).removeRecursively();
}

void WindowSetup::holdScans() const
{
    home.write(u"hold"_s, {});
}

void WindowSetup::releaseScans() const
{
    QFile::remove(home.path() + "/hold"_L1);
}

qsizetype WindowSetup::scans() const
{
    return PrivateHome::read(home.path() + "/scans"_L1).count('\n');
}

bool WindowSetup::scan() const
{
    m_window->action_loadSysData();
    return QTest::qWaitFor([this] { return loadButton()->isEnabled(); }, 10'000);
}

MainWindow& WindowSetup::create()
{
    m_window = std::make_unique<MainWindow>();
    return *m_window;
}

MainWindow& WindowSetup::open()
{
    create();
    m_window->show();
    m_window->activateWindow();
    if (!QTest::qWaitForWindowActive(m_window.get())) {
        qFatal("the window does not become active");
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
