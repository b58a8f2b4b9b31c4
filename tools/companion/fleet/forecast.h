#pragma once

#include <QStringList>

class QTextStream;

/// `forecast NEW --published OLD --machines PLACE...`: tells what a new catalogue will change on
/// recorded machines. @p arguments begin with "forecast"; returns an ExitStatus.
int runForecast(const QStringList& arguments, QTextStream& out, QTextStream& err);
