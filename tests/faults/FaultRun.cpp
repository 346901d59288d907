#include "FaultRun.h"

#include "Bytes.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcessEnvironment>

namespace support
{

namespace
{

constexpr int mostMilliseconds = 120000;

/// Allocations that hold data of a survey: those of strings, lists and buffers of Qt are smaller.
constexpr int sizeThatCounts = 17000;

QProcessEnvironment withInjector(const QString &directory)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(FAULT_INJECTOR));
    // A sanitizer wants to come first, and serves the injector as well if it comes second.
    const QString options = environment.value(QStringLiteral("ASAN_OPTIONS"));
    environment.insert(QStringLiteral("ASAN_OPTIONS"), options + QStringLiteral(":verify_asan_link_order=0"));
    environment.insert(QStringLiteral("TMPDIR"), directory + QStringLiteral("/tmp"));
    environment.insert(QStringLiteral("HOME"), directory + QStringLiteral("/home"));
    // Sets are walked in the same order each time.
    environment.insert(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0"));
    environment.insert(QStringLiteral("SCRIPTED_WORKER"), directory + QStringLiteral("/home/script"));
    return environment;
}

} // namespace

QByteArray Fault::words() const
{
    return QByteArray(call) + " number " + QByteArray::number(number) + (isLasting ? " and all behind it" : "")
           + " gives " + error;
}

FaultRunner::FaultRunner(const QString &directory) : m_directory(directory)
{
    m_record.open();
    m_record.resize(64);
    QFile::copy(QStringLiteral(PTCLOUD_PROGRAM), m_programs.filePath(QStringLiteral("ptcloud")));
    QFile::link(QStringLiteral(SCRIPTED_WORKER_DIR "/open3d_wrapper"),
                m_programs.filePath(QStringLiteral("open3d_wrapper")));
    m_host.setProcessEnvironment(withInjector(directory));
    m_host.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

FaultRunner::~FaultRunner()
{
    m_host.closeWriteChannel();
    m_host.waitForFinished();
}

Outcome FaultRunner::run(const char *command, const Fault &fault)
{
    m_record.seek(0);
    m_record.write(QByteArray(8, '\0'));
    m_record.flush();
    Outcome outcome = qstrncmp(command, "ptcloud ", 8) == 0 ? runPtcloud(command, fault) : runInHost(command, fault);
    const QByteArray counters = readFile(m_record.fileName());
    outcome.seen = get<int>(counters, 0);
    outcome.failed = get<int>(counters, 4);
    return outcome;
}

QMap<QString, QString> FaultRunner::environmentOf(const Fault &fault) const
{
    return {{QStringLiteral("FAULT_CALL"), QString::fromLatin1(fault.call)},
            {QStringLiteral("FAULT_ERROR"), QString::fromLatin1(fault.error)},
            {QStringLiteral("FAULT_NUMBER"), QString::number(fault.number)},
            {QStringLiteral("FAULT_LASTING"), QString::number(fault.isLasting ? 1 : 0)},
            {QStringLiteral("FAULT_DIRECTORY"), m_directory},
            {QStringLiteral("FAULT_SIZE"), QString::number(sizeThatCounts)},
            {QStringLiteral("FAULT_RECORD"), m_record.fileName()}};
}

Outcome FaultRunner::runInHost(const char *command, const Fault &fault)
{
    if (m_host.state() == QProcess::NotRunning) {
        m_host.start(QStringLiteral(FAULT_HOST), QStringList());
        m_host.waitForStarted();
    }
    QJsonObject environment;
    const auto variables = environmentOf(fault);
    for (auto it = variables.cbegin(); it != variables.cend(); ++it)
        environment.insert(it.key(), *it);
    const QJsonObject request = {{QStringLiteral("command"), QString::fromLatin1(command)},
                                 {QStringLiteral("directory"), m_directory},
                                 {QStringLiteral("environment"), environment}};
    m_host.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    while (!m_host.canReadLine() && m_host.waitForReadyRead(mostMilliseconds)) {
    }
    const QJsonObject reply = QJsonDocument::fromJson(m_host.readLine()).object();
    Outcome outcome;
    outcome.end = reply.value(QStringLiteral("end")).toString(QStringLiteral("no answer")).toUtf8();
    outcome.result = reply.value(QStringLiteral("result")).toString().toUtf8();
    outcome.errors = reply.value(QStringLiteral("errors")).toString().toUtf8();
    return outcome;
}

Outcome FaultRunner::runPtcloud(const char *command, const Fault &fault) const
{
    QProcessEnvironment environment = withInjector(m_directory);
    const auto variables = environmentOf(fault);
    for (auto it = variables.cbegin(); it != variables.cend(); ++it)
        environment.insert(it.key(), *it);
    QStringList words = QString::fromLatin1(command).split(QLatin1Char(' ')).mid(1);
    words.replaceInStrings(QStringLiteral("@"), m_directory);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(m_programs.filePath(QStringLiteral("ptcloud")), words);
    const bool isOver = process.waitForFinished(mostMilliseconds);
    Outcome outcome;
    if (!isOver)
        outcome.end = "hung";
    else if (process.exitStatus() == QProcess::CrashExit)
        outcome.end = "signal " + QByteArray::number(process.exitCode());
    else
        outcome.end = process.exitCode() <= 1 ? "exit 0" : "exit " + QByteArray::number(process.exitCode());
    outcome.result = QByteArray::number(process.exitCode());
    outcome.shown = process.readAllStandardOutput();
    outcome.errors = process.readAllStandardError();
    return outcome;
}

} // namespace support
