#pragma once

#include "points_cloud_global.h"

#include <QString>

namespace ptCloud
{

/// Where a long action tells how far it is. The host implements it and keeps it; the library calls it on the thread of
/// the command and forgets it when the command returns.
class POINTS_CLOUD_EXPORT ILongLiveActionProgress
{
public:
    ILongLiveActionProgress() = default;
    virtual ~ILongLiveActionProgress();

    /// True asks the running action to stop.
    virtual bool isCancelRequested() = 0;
    /// The progress as the worker wrote it, 0 to 255.
    virtual void setProgressValue(int value) = 0;
    /// What the action is doing now.
    virtual void setProgressText(const QString &text) = 0;

    // The library calls none of the following; they are for hosts that share one interface.

    virtual void setTitle(const QString &title) = 0;
    virtual void setRange(int minimum, int maximum) = 0;
    virtual void finish() = 0;

private:
    Q_DISABLE_COPY(ILongLiveActionProgress)
};

} // namespace ptCloud
