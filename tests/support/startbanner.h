#pragma once

#include "app/buildinfo.h"
#include "system/system.h"

#include <QStringList>
#include <QSysInfo>

/// What the program logs first, each line without its time.
[[nodiscard]] inline QStringList startBanner()
{
    using namespace Qt::Literals::StringLiterals;
    return {u"[INFO] Quillmere START"_s,
            u"[INFO] Author: "_s + BuildInfo::authorName(),
            u"[INFO] Mail: "_s + BuildInfo::authorMail(),
            u"[INFO] Version: 26.3.0 (Build on %1)"_s.arg(BuildInfo::buildDate()),
            u"[INFO] Based on Qt "_s + QStringLiteral(QT_VERSION_STR),
            u"[INFO] CPU Architecture: "_s + System::cpuArchitecture(),
            u"[INFO] OS: "_s + QSysInfo::prettyProductName()};
}
