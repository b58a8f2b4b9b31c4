#include "support/propertylist.h"

QByteArray xmlPlist(const QByteArray& content)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
)" + content +
           "\n</dict>\n</plist>\n";
}

QByteArray versionPlist(const QByteArray& version)
{
    return xmlPlist("<key>CFBundleShortVersionString</key>\n<string>" + version + "</string>");
}

QByteArray binaryPlist(const QByteArray& key, const QByteArray& value)
{
    const auto text = [](const QByteArray& ascii) {
        // A text of less than 256 characters: kind, then the length as a one-byte number.
        return QByteArray("\x5F\x10") + static_cast<char>(ascii.size()) + ascii;
    };
    const auto number = [](qsizetype value64) {
        return QByteArray(7, '\0') + static_cast<char>(value64);
    };
    QByteArray plist("bplist00");
    QByteArray offsets;
    for (const QByteArray& object : {QByteArray("\xD1\x01\x02"), text(key), text(value)}) {
        offsets += static_cast<char>(plist.size());
        plist += object;
    }
    const qsizetype tableAt = plist.size();
    const QByteArray sizes = QByteArray(6, '\0') + "\x01\x01";
    return plist + offsets + sizes + number(offsets.size()) + number(0) + number(tableAt);
}
