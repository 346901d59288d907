#include "RangeCheck.h"

#include "Failure.h"

void checkRange(const char *key, double value, double least, double most)
{
    if (value >= least && value <= most)
        return;
    constexpr int digits = 10;
    const auto text = [](double number) { return QString::number(number, 'g', digits); };
    throw Failure(ExitCode::Argument, QStringLiteral("%1 is %2: it must be from %3 to %4")
                                          .arg(QLatin1String(key), text(value), text(least), text(most)));
}
