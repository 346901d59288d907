#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTemporaryFile>

namespace support
{

/// One call that fails.
struct Fault
{
    const char *call = "none";
    const char *error = "";
    bool isLasting = false;
    int number = 1;

    /// Nobody may notice: the call can be made again, or its rest.
    bool isHarmless() const { return qstrcmp(error, "EINTR") == 0 || qstrcmp(error, "short") == 0; }
    QByteArray words() const;
};

/// What a process came to.
struct Outcome
{
    QByteArray end;    ///< "exit 0", "signal 11", "hung"
    QByteArray result; ///< what the command told
    QByteArray shown;  ///< by the command-line host: on standard output
    QByteArray errors; ///< on standard error
    int seen = 0;      ///< calls of the fault's kind
    int failed = 0;    ///< of them
};

/// Runs one command in a process of its own, with a fault.
///
/// Commands that begin with "ptcloud" run the command-line host; "@" stands for the directory. All others are commands
/// of `fault_host`, which keeps a process ready for them.
class FaultRunner
{
public:
    /// @param directory  below it calls fail
    explicit FaultRunner(const QString &directory);
    ~FaultRunner();
    FaultRunner(const FaultRunner &) = delete;
    FaultRunner &operator=(const FaultRunner &) = delete;

    Outcome run(const char *command, const Fault &fault);

private:
    QMap<QString, QString> environmentOf(const Fault &fault) const;
    Outcome runInHost(const char *command, const Fault &fault);
    Outcome runPtcloud(const char *command, const Fault &fault) const;

    QString m_directory;
    QTemporaryFile m_record;  ///< the injector's two counters
    QTemporaryDir m_programs; ///< the command-line host, and beside it a worker that does as it is told
    QProcess m_host;
};

} // namespace support
