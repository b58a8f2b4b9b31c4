#include "companion/fleet/forecastwords.h"

#include <QLocale>

using namespace Qt::Literals::StringLiterals;

QString grouped(quint64 number)
{
    return QLocale(QLocale::English).toString(number);
}

QString refusalText(Refusal reason)
{
    switch (reason) {
    case Refusal::Damaged:
        return u"the record is damaged"_s;
    case Refusal::NoFullState:
        break;
    }
    return u"changes are recorded, but not what they change"_s;
}

QString gapText(Gap gap)
{
    switch (gap) {
    case Gap::TwoBundles:
        return u"two bundles have the name, with different versions"_s;
    case Gap::None:
    case Gap::NoVersion:
        break;
    }
    return u"the record has no version"_s;
}

QString gradeText(Grade grade)
{
    switch (grade) {
    case Grade::AsReported:
        return u"Versions as reported, which may be another of the bundle's,"_s;
    case Grade::Assumed:
        return u"Place and folder name assumed, as no path is recorded,"_s;
    case Grade::Exact:
        break;
    }
    return {};
}

QString machinesText(quint64 machines)
{
    return grouped(machines) + (machines == 1 ? " machine"_L1 : " machines"_L1);
}
