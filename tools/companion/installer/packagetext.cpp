#include "companion/installer/packagetext.h"

#include <QUrl>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString notWellFormed(const QXmlStreamReader& xml)
{
    return u"it is no well-formed XML: %1"_s.arg(xml.errorString());
}

/// One choice of a distribution, as far as it says what is done with its packages.
struct Choice
{
    bool isOptional = false;
    QString customLocation;
    QStringList packages; ///< their identifiers
};

/// Whether a choice may be left out: what is neither absent nor "true" is a script or a no.
bool mayBeLeftOut(const QXmlStreamAttributes& attributes)
{
    static const QStringList decisive = {u"selected"_s, u"start_selected"_s};
    return std::any_of(decisive.cbegin(), decisive.cend(), [&attributes](const QString& name) {
        return attributes.hasAttribute(name) && attributes.value(name) != "true"_L1;
    });
}

/// Reads along the elements of a distribution.
class DistributionReader
{
public:
    explicit DistributionReader(const QByteArray& bytes) : m_xml(bytes) {}

    [[nodiscard]] Distribution read()
    {
        while (!m_xml.atEnd()) {
            const auto token = m_xml.readNext();
            if (token == QXmlStreamReader::StartElement) {
                startElement(m_xml.name().toString(), m_xml.attributes());
            } else if (token == QXmlStreamReader::EndElement && m_xml.name() == "choice"_L1) {
                m_isInChoice = false;
            }
        }
        if (m_xml.hasError()) {
            m_distribution.error = notWellFormed(m_xml);
        }
        addPackages();
        return m_distribution;
    }

private:
    void startElement(const QString& element, const QXmlStreamAttributes& attributes)
    {
        if (element == "choice"_L1) {
            m_isInChoice = true;
            m_choices.append(
                {mayBeLeftOut(attributes), attributes.value("customLocation"_L1).toString(), {}});
        } else if (element == "pkg-ref"_L1) {
            addReference(attributes.value("id"_L1).toString());
        } else if (element == "script"_L1) {
            m_distribution.hasScripts = true;
        } else if (element == "options"_L1) {
            m_distribution.processors = attributes.value("hostArchitectures"_L1)
                                            .toString()
                                            .remove(u' ')
                                            .split(u',', Qt::SkipEmptyParts);
        } else if (element == "os-version"_L1) {
            m_distribution.minimumSystem = attributes.value("min"_L1).toString();
        }
    }

    void addReference(const QString& identifier)
    {
        if (m_isInChoice) {
            m_choices.last().packages.append(identifier);
        }
        const QString place =
            m_xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
        if (place.startsWith(u'#')) {
            m_folders.insert(identifier, QUrl::fromPercentEncoding(place.sliced(1).toUtf8()));
        } else if (!place.isEmpty()) {
            m_distribution.elsewhere.append(place);
        }
    }

    void addPackages()
    {
        for (auto folder = m_folders.cbegin(); folder != m_folders.cend(); ++folder) {
            Distribution::Package package{true, {}};
            bool isChosen = false;
            for (const Choice& choice : std::as_const(m_choices)) {
                if (choice.packages.contains(folder.key())) {
                    isChosen = true;
                    package.isOptional = package.isOptional && choice.isOptional;
                    package.customLocation = choice.customLocation;
                }
            }
            if (isChosen) {
                m_distribution.packages.insert(*folder, package);
            }
        }
    }

    QXmlStreamReader m_xml;
    Distribution m_distribution;
    QList<Choice> m_choices;
    bool m_isInChoice = false;
    QHash<QString, QString> m_folders; ///< of the packages, by identifier
};

} // namespace

PackageInfo readPackageInfo(const QByteArray& bytes)
{
    PackageInfo info;
    QXmlStreamReader xml(bytes);
    bool isInRelocate = false;
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        const QStringView element = xml.name();
        if (element == "relocate"_L1) {
            isInRelocate = token == QXmlStreamReader::StartElement;
        }
        if (token != QXmlStreamReader::StartElement) {
            continue;
        }
        const QXmlStreamAttributes attributes = xml.attributes();
        if (element == "pkg-info"_L1) {
            info.location = attributes.value("install-location"_L1).toString();
            info.isRelocatable = attributes.value("relocatable"_L1) == "true"_L1;
        } else if (element == "bundle"_L1 && isInRelocate) {
            info.isRelocatable = true;
        } else if (element == "preinstall"_L1 || element == "postinstall"_L1) {
            info.scripts.append(attributes.value("file"_L1).toString());
        }
    }
    if (!info.location.startsWith(u'/')) {
        info.location.prepend(u'/');
    }
    if (xml.hasError()) {
        info.error = notWellFormed(xml);
    }
    return info;
}

Distribution readDistribution(const QByteArray& bytes)
{
    return DistributionReader(bytes).read();
}
