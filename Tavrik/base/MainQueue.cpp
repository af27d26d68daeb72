#include "base/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <utility>

namespace tavrik {

namespace {

const auto drainEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

MainQueue::MainQueue(QObject* parent) : QObject(parent) {}

MainQueue::Hold::Hold(MainQueue& queue) : m_queue(queue) {
    const std::scoped_lock lock(m_queue.m_mutex);
    ++m_queue.m_holds;
}

MainQueue::Hold::~Hold() {
    const std::scoped_lock lock(m_queue.m_mutex);
    if (--m_queue.m_holds == 0)
        m_queue.schedule();
}

void MainQueue::post(Job job) {
    const std::scoped_lock lock(m_mutex);
    m_jobs.push_back(std::move(job));
    schedule();
}

void MainQueue::postAfter(std::chrono::milliseconds delay, Job job) {
    // The timer is started by the queue's own thread, since the caller's may have no event loop.
    QMetaObject::invokeMethod(
        this,
        [this, delay, job = std::move(job)] { QTimer::singleShot(delay, this, [this, job] { post(job); }); },
        Qt::QueuedConnection);
}

bool MainQueue::event(QEvent* event) {
    if (event->type() != drainEvent)
        return QObject::event(event);
    drain();
    return true;
}

// Called with the mutex held.
void MainQueue::schedule() {
    if (m_scheduled || m_draining || m_holds > 0 || m_jobs.empty())
        return;
    m_scheduled = true;
    QCoreApplication::postEvent(this, new QEvent(drainEvent));
}

void MainQueue::drain() {
    std::unique_lock lock(m_mutex);
    m_scheduled = false;
    if (m_draining)
        return;
    m_draining = true;
    // Only what is there now: a job that posts another must not keep the event loop from its other work.
    for (auto left = m_jobs.size(); left > 0 && m_holds == 0; --left) {
        auto job = std::exchange(m_jobs.front(), nullptr);
        m_jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
    }
    m_draining = false;
    schedule();
}

} // namespace tavrik
