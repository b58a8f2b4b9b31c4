#include "system/propertylisttext.h"

#include <QIODevice>
#include <QXmlStreamReader>

#include <utility>

using namespace Qt::Literals::StringLiterals;

std::optional<QString> propertyListText(QIODevice& file, const QString& key)
{
    QXmlStreamReader xml(&file);
    QString value;
    bool isValue = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == "key"_L1) {
            if (xml.readElementText() == key) {
                isValue = true;
            }
        } else if (std::exchange(isValue, false)) {
            value = xml.readElementText();
            if (xml.error() == QXmlStreamReader::UnexpectedElementError) {
                value.clear(); // the blanks before an element inside the value are no value
            }
        }
    }
    return xml.hasError() && value.isEmpty() ? std::nullopt : std::optional(value);
}
