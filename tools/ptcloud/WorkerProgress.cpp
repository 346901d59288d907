#include "WorkerProgress.h"

#include <csignal>

namespace
{

volatile std::sig_atomic_t isInterrupted = 0;

void interrupt(int)
{
    isInterrupted = 1;
}

} // namespace

WorkerProgress::WorkerProgress(const QString &title) : m_progress(title)
{
    isInterrupted = 0;
    std::signal(SIGINT, interrupt);
}

WorkerProgress::~WorkerProgress()
{
    std::signal(SIGINT, SIG_DFL);
}

bool WorkerProgress::isCancelRequested()
{
    return isInterrupted != 0;
}

void WorkerProgress::setProgressValue(int value)
{
    constexpr double whole = 255;
    m_fraction = value / whole;
}

void WorkerProgress::setProgressText(const QString &text)
{
    m_text = text;
    m_progress.show(m_fraction, text);
}
