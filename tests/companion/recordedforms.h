#pragma once

#include "companion/fleet/installed.h"

#include <QByteArray>
#include <QStringList>

/// A machine's inventory as one way of recording writes it.
struct RecordedForm
{
    QString name; ///< of the way: "jamf"
    QByteArray content;
};

/// The inventory of @p machine in each way of recording but the client's own log. Those that record
/// no path leave out what lies neither in /Applications nor in a folder there. All that can be
/// about a person or a device is in them as personalTexts() has it.
[[nodiscard]] QList<RecordedForm> recordedForms(const QString& machine,
                                                const QList<RecordedApplication>& applications);

/// The columns of the table among the forms, as `--columns` takes them.
[[nodiscard]] QString recordedColumns();

/// What the forms say of people and devices, beside the machine's name.
[[nodiscard]] QStringList personalTexts();
