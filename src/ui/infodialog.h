#pragma once

#include <QString>

class QWidget;

/// Modal message boxes with the program's own icon. Each returns when the user has closed the box.
class InfoDialog
{
public:
    InfoDialog() = delete;

    /// A box with one OK button; @p iconPath names an image, none is shown where it cannot be read.
    static void show(QWidget* parent, const QString& title, const QString& text,
                     const QString& iconPath);
    static void information(QWidget* parent, const QString& title, const QString& text);
    static void warning(QWidget* parent, const QString& title, const QString& text);
    /// Asks with OK and Cancel; @p text is rich text. True only for OK, not for a box closed
    /// otherwise.
    static bool confirm(QWidget* parent, const QString& title, const QString& text);
};
