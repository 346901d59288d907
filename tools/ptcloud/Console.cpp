#include "Console.h"

#include "Terminal.h"

#include <QJsonDocument>

#include <algorithm>
#include <cstdio>

namespace
{

void print(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

void Console::line(const QString &text) const
{
    if (!json)
        print(stdout, oneLine(text) + QLatin1Char('\n'));
}

void Console::object(const QJsonObject &object) const
{
    if (json)
        print(stdout, QString::fromUtf8(QJsonDocument(object).toJson()));
}

void Console::warn(const QString &text) const
{
    print(stderr, QStringLiteral("warning: ") + oneLine(text) + QLatin1Char('\n'));
}

void Console::fail(const CommandError &error) const
{
    const QString result = error.result().isEmpty() ? QString() : QStringLiteral(" (%1)").arg(error.result());
    print(stderr, QStringLiteral("ptcloud: ") + error.text() + result + QLatin1Char('\n'));
    object({{QStringLiteral("error"), error.text()}, {QStringLiteral("result"), error.result()}});
}

Progress::Progress(QString title) : m_title(std::move(title)), m_isTerminal(terminal::standardErrorIsTerminal()) {}

Progress::~Progress()
{
    if (m_isTerminal && m_shown >= 0)
        print(stderr, QStringLiteral("\r\033[K"));
}

void Progress::show(double fraction, const QString &text)
{
    const int steps = m_isTerminal ? 100 : 4;
    const int step = std::clamp(static_cast<int>(fraction * steps), 0, steps);
    // Elsewhere than on a terminal a text alone makes no line: it may change many times a second.
    if (step == m_shown && (!m_isTerminal || text == m_text))
        return;
    m_shown = step;
    m_text = text;
    const QString percent = QString::number(step * 100 / steps).rightJustified(3);
    const QString tail = text.isEmpty() ? QString() : QStringLiteral("  ") + text;
    if (!m_isTerminal) {
        print(stderr, QStringLiteral("%1: %2 %%3\n").arg(m_title, percent, tail));
        return;
    }
    constexpr int width = 40;
    const int filled = step * width / steps;
    const QString bar = QString(filled, QLatin1Char('#')) + QString(width - filled, QLatin1Char('.'));
    print(stderr, QStringLiteral("\r\033[K%1 [%2] %3 %%4").arg(m_title, bar, percent, tail.left(width)));
}

QString grouped(qint64 number)
{
    QString digits = QString::number(number);
    const int first = number < 0 ? 1 : 0;
    for (int at = digits.size() - 3; at > first; at -= 3)
        digits.insert(at, QLatin1Char(' '));
    return digits;
}
