#include "ui/waitdialog.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize pictureSize(64, 64);

/// Shows a movie with a pixel for each of the screen; a label alone would draw one to the point.
class MovieLabel : public QLabel
{
public:
    using QLabel::QLabel;

    [[nodiscard]] QSize sizeHint() const override { return pictureSize; }
    [[nodiscard]] QSize minimumSizeHint() const override { return pictureSize; }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPixmap picture = movie()->currentPixmap();
        // The next picture is made for the screen that the window is on by now.
        movie()->setScaledSize(pictureSize * devicePixelRatioF());
        picture.setDevicePixelRatio(qreal(picture.width()) / pictureSize.width());
        QPainter painter(this);
        style()->drawItemPixmap(&painter, contentsRect(), int(alignment()), picture);
    }
};

} // namespace

WaitDialog::WaitDialog(QWidget* parent) : QDialog(parent), m_message(new QLabel(this))
{
    setWindowTitle(tr("Veuillez patienter"));
    setModal(true);

    // Deliberately without an owner: it turns for as long as the program runs.
    auto* movie = new QMovie(u":/images/loading.gif"_s);
    movie->setScaledSize(pictureSize * devicePixelRatioF());
    auto* picture = new MovieLabel(this);
    picture->setAlignment(Qt::AlignCenter);
    picture->setMovie(movie);
    movie->start();

    m_message->setText(tr("Opération en cours..."));
    m_message->setAlignment(Qt::AlignCenter);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(picture);
    layout->addWidget(m_message);
    setFixedSize(200, 140);
}

void WaitDialog::setMessage(const QString& text)
{
    m_message->setText(text);
}

void WaitDialog::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
    // A window that is closed while it has the focus stays connected to the application's focus
    // object, and is connected once more whenever it is shown: after 2,000 scans each change of the
    // focus would be told 2,000 times.
    if (const QWindow* window = windowHandle()) {
        disconnect(window, &QWindow::focusObjectChanged, qGuiApp, nullptr);
    }
}
