#include "cases.h"
#include "child.h"

#include "app/debug.h"
#include "ui/mainwindow.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Leaves the event loop when the window it watches has been painted.
class FirstPaint : public QObject
{
public:
    explicit FirstPaint(QWidget& window) { window.installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            // After the paint event: the window's children are painted with it.
            QMetaObject::invokeMethod(
                qApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }
};

void showUntilPainted(QWidget& window)
{
    const FirstPaint paint(window);
    window.show();
    QCoreApplication::exec();
}

Measurement startTime(const QString& argument)
{
    return [argument] { return secondsOf([&] { outputOfChild({argument}); }); };
}

Benchmark start()
{
    Benchmark benchmark;
    benchmark.what = u"process start to the painted window / a bare window of the same form"_s;
    benchmark.rounds = 21;
    benchmark.must = 1.25;
    benchmark.aim = 1.1;
    benchmark.ours = startTime(u"--start-own"_s);
    benchmark.reference = startTime(u"--start-bare"_s);
    return benchmark;
}

} // namespace

void startOwnWindow()
{
    Debug::init();
    MainWindow window;
    showUntilPainted(window);
}

void startBareWindow()
{
    QMainWindow window;
    window.setFixedWidth(630);
    window.resize(630, 563);
    for (const QString& title : {u"File"_s, u"Edit"_s, u"Help"_s}) {
        QMenu* menu = window.menuBar()->addMenu(title);
        menu->addAction(u"One"_s);
        menu->addAction(u"Two"_s);
    }
    auto* content = new QWidget(&window);
    auto* layout = new QVBoxLayout(content);
    auto* table = new QTableWidget(0, 3, content);
    table->setHorizontalHeaderLabels({u"Name"_s, u"Installed"_s, u"Catalogue"_s});
    layout->addWidget(table);
    layout->addWidget(new QPushButton(u"Reload"_s, content));
    window.setCentralWidget(content);
    showUntilPainted(window);
}

QList<BenchmarkCase> startCases()
{
    return {{u"start"_s, start}};
}
