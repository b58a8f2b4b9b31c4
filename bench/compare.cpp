#include "app/debug.h"
#include "console.h"
#include "profiler/application.h"
#include "profiler/profiler.h"

#include <QCoreApplication>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

// quillmere_compare URL CATALOGUE: all that the program does without its window, in a process that
// loads none of its widgets. Prints a line for each entry: its name, the installed application and
// the order of the two versions.
int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    silenceConsole();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        fail(u"usage: quillmere_compare URL CATALOGUE"_s);
    }
    Debug::init();
    Profiler profiler(arguments[1], arguments[2], u","_s, QString());
    profiler.webData_update();
    profiler.sysData_update();
    QTextStream out(stdout);
    for (const QString& name : profiler.getWebAppList()) {
        const Application record(name, &profiler);
        out << name << '\t' << record.getRealName() << '\t';
        if (record.isInstall()) {
            out << record.versionsMatch();
        }
        out << '\n';
    }
    return 0;
}
