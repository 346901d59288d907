#pragma once

#include "Progress.h"

#include <QElapsedTimer>
#include <QSharedMemory>

/// Tells the host how far the run is, through the block of shared memory that the host has made: a byte from 0 to 255
/// that never falls, then a message in UTF-8 that ends with a byte 0. Where there is no such block, somebody has
/// started the worker by hand: then the messages go to the standard error.
class HostProgress : public Progress
{
public:
    HostProgress();

    void stage(const QString &name, double begin, double end) override;
    /// Drops what comes within `periodMs` of the last message.
    void show(double fraction) override;

    /// The last message: what came of the run, all of it done.
    void succeed(const QString &message);
    /// The last message: why the run failed, as far as it was.
    void fail(const QString &message);

private:
    static constexpr int periodMs = 100;

    void tell(double whole, const QString &message);
    void write(const QByteArray &message);

    QSharedMemory m_block;
    QElapsedTimer m_sinceLast;
    QString m_name;
    double m_begin = 0;
    double m_end = 0;
    int m_value = 0;
};
