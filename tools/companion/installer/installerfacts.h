#pragma once

#include "companion/installer/known.h"

#include <QDate>
#include <QJsonObject>
#include <QStringList>

/// What is known of one application that an installer would put into /Applications.
struct BundleFacts
{
    QString location;  ///< where it will lie, for example "/Applications/Synth.app"
    QString name;      ///< by which the client's scan knows it, for example "Synth"
    KnownText version; ///< as the client reads it; empty where the client reads none
    QString listError; ///< why its property list cannot be read to its end; empty when it can
    KnownText identifier;
    KnownText minimumSystem;
    Known<QStringList> processors; ///< ascending
    Known<QDate> newestFile;       ///< when the newest of its files was last changed
    QStringList faults;            ///< what keeps it from being started

    bool operator==(const BundleFacts&) const = default;
};

/// One thing that a client opens to install, and what that would bring.
struct InstallerItem
{
    QString path;               ///< inside the archive; empty where the file itself is opened
    QStringList openedOn;       ///< the processors whose clients open it: "arm64", "x86_64"
    QString kind;               ///< "application", "package" or "disk image"
    QList<BundleFacts> bundles; ///< ascending by location
    QStringList notes;          ///< for example that it runs scripts
    QString unknown;            ///< why it is not known what it would bring; empty when it is
    bool isDamaged = false;     ///< whether that is a fault which keeps it from being installed

    bool operator==(const InstallerItem&) const = default;
};

/// What one file would put into /Applications.
struct InstallerFacts
{
    QList<InstallerItem> items; ///< one; more where the processors' clients open different ones
    QString unknown;            ///< why nothing is known; empty when something is
    QString obstacle; ///< what of this machine kept it from being read; empty when nothing did

    bool operator==(const InstallerFacts&) const = default;
};

/// A value that is not known is {"unknown": reason}.
[[nodiscard]] QJsonObject toJson(const InstallerFacts& facts);
/// Reads what toJson() has made.
[[nodiscard]] InstallerFacts installerFactsFrom(const QJsonObject& object);
