#include "FirstFrame.h"

#include <QEvent>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace {

class FirstFrameWatcher : public QObject
{
public:
    FirstFrameWatcher(QWidget* window, std::function<void()> call)
        : QObject(window)
        , m_call(std::move(call))
    {
        window->installEventFilter(this);
        QTimer::singleShot(window->isVisible() ? 1000 : 0, this, &FirstFrameWatcher::fire);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        // Queued: the paint this event starts, and its flush to the screen, come first.
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, this, &FirstFrameWatcher::fire);
        return QObject::eventFilter(watched, event);
    }

private:
    void fire()
    {
        if (!m_call)
            return;
        const std::function<void()> call = std::move(m_call);
        m_call = nullptr;
        deleteLater();
        call();
    }

    std::function<void()> m_call;
};

} // namespace

void callAfterFirstFrame(QWidget* window, std::function<void()> call)
{
    if (!window) {
        QTimer::singleShot(0, std::move(call));
        return;
    }
    new FirstFrameWatcher(window, std::move(call));
}
