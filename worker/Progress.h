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

/// A part of a run as a whole of its own: what is shown here as 0 to 1 comes out as `begin` to `end`. For a function
/// that reads and writes around an algorithm, which knows of its own stages alone.
class ProgressPart : public Progress
{
public:
    ProgressPart(Progress &whole, double begin, double end) : m_whole(whole), m_begin(begin), m_end(end) {}

    void stage(const QString &name, double begin, double end) override
    {
        m_whole.stage(name, m_begin + begin * (m_end - m_begin), m_begin + end * (m_end - m_begin));
    }
    void show(double fraction) override { m_whole.show(fraction); }

private:
    Progress &m_whole;
    double m_begin;
    double m_end;
};

/// For those who don't look, such as tests.
class NoProgress : public Progress
{
public:
    void stage(const QString &, double, double) override {}
    void show(double) override {}
};
