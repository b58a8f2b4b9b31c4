#include "profiler/applicationmatch.h"

#include "profiler/versionorder.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

bool isVersionSuffix(const QString& suffix)
{
    static const QRegularExpression pattern(u"^[0-9. ]*$"_s);
    return pattern.match(suffix).hasMatch();
}

bool isVersionOf(const QString& name, const QString& candidate)
{
    return isVersionSuffix(QString(candidate).remove(name));
}

ApplicationMatch matchApplication(const QString& name, const QStringList& candidates,
                                  const InstalledVersion& installedVersion)
{
    if (candidates.isEmpty()) {
        return {};
    }
    if (candidates.size() == 1) {
        return {candidates.constFirst(), installedVersion(candidates.constFirst()), {}};
    }
    ApplicationMatch best{candidates.constFirst(), u"0"_s, {}};
    for (const QString& candidate : candidates) {
        const QString version = installedVersion(candidate);
        // "Synth 2" is a Synth, "Synth Pro" is another product.
        if (isVersionOf(name, candidate) && compareVersions(best.version, version) <= 0) {
            best.name = candidate;
            best.version = version;
        }
        best.descriptions.append(u'\'' + candidate + "' v"_L1 + version);
    }
    return best;
}
