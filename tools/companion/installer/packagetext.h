#pragma once

#include <QByteArray>
#include <QHash>
#include <QStringList>

/// What the PackageInfo of one package tells.
struct PackageInfo
{
    QString location = QStringLiteral("/"); ///< where its payload is put, from "/"
    bool isRelocatable = false; ///< put over an application of its identifier, wherever that lies
    QStringList scripts;        ///< their files' names
    QString error;              ///< why it cannot be read; empty when it can
};

/// What the Distribution of several packages tells.
struct Distribution
{
    struct Package
    {
        bool isOptional = false; ///< the user or a script may leave it out
        QString customLocation;  ///< empty when its own holds
    };
    QHash<QString, Package> packages; ///< by their folders in the file
    QStringList elsewhere;            ///< packages that are not in the file
    QString minimumSystem;            ///< the least of the systems that it allows
    QStringList processors;           ///< it may run on; empty where none are named
    bool hasScripts = false;
    QString error; ///< why it cannot be read; empty when it can
};

[[nodiscard]] PackageInfo readPackageInfo(const QByteArray& xml);
[[nodiscard]] Distribution readDistribution(const QByteArray& xml);
