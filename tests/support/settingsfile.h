#pragma once

#include <QString>

/// What a settings file says; the colours are the default ones.
struct Settings
{
    QString base = QStringLiteral("#d4d4d4");
    QString down = QStringLiteral("#ffdada");
    QString equal = QStringLiteral("#daffda");
    QString up = QStringLiteral("#dadaff");
    QString baseUrl = {};
    QString csvPath = QStringLiteral("catalogue.csv");
    QString csvSeparator = QStringLiteral(",");
    QString softPath = QStringLiteral("soft/");
    QString downloadFolder = QStringLiteral("~/Downloads");
};

/// The bytes of a config.xml with these values, on one line.
[[nodiscard]] QByteArray settingsXml(const Settings& settings);
