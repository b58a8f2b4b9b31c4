#pragma once

#include "support/testline.h"

#include <QPoint>

class QWidget;

/// Whether a person's mouse reaches @p widget, or what it holds, at @p place of it: the place is
/// shown, inside all that it scrolls in, and nothing of its window lies over it. Other windows, and
/// what a modal box keeps from being used, are not looked at.
[[nodiscard]] bool isSeen(const QWidget* widget, QPoint place);

/// A click of a person's mouse at @p place of @p widget: a move, a press and a release that its
/// window gets, all at one place of the window, whatever the press moves there. So it goes the
/// whole way of a real one: focus, scrolling, what lies on top, modal boxes.
///
/// Where the place is not seen, nothing is sent; the test function fails, at the caller's own line,
/// and the result is false.
bool windowClick(const QWidget* widget, QPoint place, TestLine at = {});
/// The same in the middle of @p widget.
bool windowClick(const QWidget* widget, TestLine at = {});
/// The same twice in quick succession.
bool windowDoubleClick(const QWidget* widget, QPoint place, TestLine at = {});
