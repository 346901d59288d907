#pragma once

#include "Console.h"

#include "ILongLiveActionProgress.h"

/// Shows how far the worker is, with its message, and cancels it on Ctrl-C.
class WorkerProgress : public ptCloud::ILongLiveActionProgress
{
public:
    /// Takes Ctrl-C over until the object goes.
    explicit WorkerProgress(const QString &title);
    ~WorkerProgress() override;

    bool isCancelRequested() override;
    void setProgressValue(int value) override;
    void setProgressText(const QString &text) override;
    void setTitle(const QString &) override {}
    void setRange(int, int) override {}
    void finish() override {}

    /// What the worker said last: after a failure, why.
    QString lastText() const { return m_text; }

private:
    Progress m_progress;
    double m_fraction = 0;
    QString m_text;
};
