#include "fuzzing.h"

#include <QCoreApplication>
#include <QFile>
#include <QIODevice>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // The log would cost more than what is tried here.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static const QCoreApplication application(*argc, *argv);
    qputenv("HOME", privateFolder().toLocal8Bit());
    return 0;
}

void reportFinding(const char* rule, const QString& details)
{
    std::fprintf(stderr, "BROKEN RULE: %s\n%s\n", rule, qUtf8Printable(details));
    std::abort();
}

QByteArray rest(FuzzedDataProvider& input)
{
    const auto bytes = input.ConsumeRemainingBytes<char>();
    return QByteArray(bytes.data(), qsizetype(bytes.size()));
}

QStringList linesOf(const QByteArray& text)
{
    QTextStream stream(text, QIODevice::ReadOnly);
    QStringList lines = stream.readAll().split(u'\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast();
    }
    for (QString& line : lines) {
        if (line.endsWith(u'\r')) {
            line.chop(1);
        }
    }
    return lines;
}

QString privateFolder()
{
    static const QTemporaryDir folder;
    if (!folder.isValid()) {
        reportFinding("TMPDIR cannot be written");
    }
    return folder.path() + u'/';
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        reportFinding("TMPDIR cannot be written", path);
    }
}
