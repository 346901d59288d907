#pragma once

#include <QString>

/// Where a run tells how far it is. Calls are cheap: what comes more often than the host looks is dropped.
class Progress
{
public:
    virtual ~Progress() = default;

    /// The next stage, which fills the run's whole from `begin` to `end` (0 to 1).
    virtual void stage(const QString &name, double begin, double end) = 0;
    /// How much of the stage is done, 0 to 1. From the thread that began the stage.
    virtual void show(double fraction) = 0;
};

/// For those who don't look, such as tests.
class NoProgress : public Progress
{
public:
    void stage(const QString &, double, double) override {}
    void show(double) override {}
};
