#pragma once

#include <QString>

class QWidget;

// The server has a say in some texts, and markup in them could make a box or a tool tip read any
// file of this machine as a picture. These show such a text as it stands.

/// A modal warning with one OK button; returns when the user has closed it.
void warnPlainly(QWidget* parent, const QString& title, const QString& text);

/// What a widget's tool tip is set to so that it shows @p text.
[[nodiscard]] QString plainToolTip(const QString& text);
