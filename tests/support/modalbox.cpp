#include "support/modalbox.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

BoxAnswerer::BoxAnswerer(QMessageBox::StandardButton button) : m_button(button)
{
    m_timer.callOnTimeout(this, [this] { answer(); });
    m_timer.start(5);
}

void BoxAnswerer::answer()
{
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || !box->isVisible()) {
        return;
    }
    m_titles.append(box->windowTitle());
    m_texts.append(box->text());
    if (m_look) {
        m_look(*box);
    }
    if (QAbstractButton* button = box->button(m_button)) {
        button->click();
    } else {
        ++m_unanswered;
        box->reject();
    }
}

BoxGuard::BoxGuard()
{
    m_timer.callOnTimeout(this, [this] { look(); });
    // A busy machine alone can stop a process for seconds, also while somebody presses OK.
    m_timer.start(10'000);
}

void BoxGuard::look()
{
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box && box == m_open) {
        QTest::qFail(qPrintable("a box that nobody answers: "_L1 + box->text()), __FILE__,
                     __LINE__);
        box->reject();
    }
    m_open = box;
}
