#pragma once

#include <QString>

#include <exception>

/// How the worker ends; the host turns the number into a line of its log.
enum class ExitCode {
    Success = 0,
    Argument = 2,     ///< a parameter that can't be
    ConfigFile = 3,   ///< the settings file is missing or can't be read
    ReadSource = 4,   ///< the source data set file can't be read
    WriteDest = 5,    ///< a result can't be written
    NotSupported = 6, ///< a function that is none
    Memory = 7,
    Normals = 8,
    Hull = 9,      ///< a hull or a triangulation failed, or has too few points
    Cloud = 10,    ///< the making of a cloud for the mesher
    Function = 11, ///< the function failed or yields nothing
    Crashed = 12   ///< an exception that nobody expected
};

/// Ends a run: the code for the host, and for the user in plain words what went wrong and what to try.
class Failure : public std::exception
{
public:
    Failure(ExitCode code, const QString &message) : m_code(code), m_message(message), m_utf8(message.toUtf8()) {}

    ExitCode code() const { return m_code; }
    const QString &message() const { return m_message; }
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    ExitCode m_code;
    QString m_message;
    QByteArray m_utf8;
};
