#include "Lettering.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace
{

/// The strokes of a character, each ended by a bar: a line through points of two characters each, x counted
/// from the left, and y downwards, where 0 is the top of a digit, 3 that of an "n", 8 the line of writing and `a`, ten,
/// the foot of a "p".
struct Glyph
{
    char character;
    std::string_view strokes;
};

constexpr Glyph glyphs[] = {
    {'0', "10 30 41 47 38 18 07 01 10|"},
    {'1', "02 20 28|"},
    {'2', "01 10 30 41 43 08 48|"},
    {'3', "01 10 30 41 43 34 14|34 45 47 38 18 07|"},
    {'4', "38 30 06 46|"},
    {'5', "40 00 04 34 45 47 38 18 07|"},
    {'6', "41 30 10 01 07 18 38 47 45 34 14 05|"},
    {'7', "00 40 18|"},
    {'8', "14 03 01 10 30 41 43 34 14 05 07 18 38 47 45 34|"},
    {'9', "07 18 38 47 41 30 10 01 03 14 34 43|"},
    {'a', "13 33 44 48|45 15 06 07 18 38 47|"},
    {'b', "00 08|04 13 33 44 47 38 18 07|"},
    {'c', "44 33 13 04 07 18 38 47|"},
    {'d', "40 48|44 33 13 04 07 18 38 47|"},
    {'e', "06 46 44 33 13 04 07 18 38 47|"},
    {'f', "30 20 11 18|03 33|"},
    {'g', "44 33 13 04 07 18 38 47|43 49 3a 1a 09|"},
    {'h', "00 08|04 13 33 44 48|"},
    {'i', "03 08|00 01|"},
    {'j', "13 19 0a|10 11|"},
    {'k', "00 08|33 06|15 38|"},
    {'l', "00 08|"},
    {'m', "03 08|04 13 23 34 38|34 43 53 64 68|"},
    {'n', "03 08|04 13 33 44 48|"},
    {'o', "13 33 44 47 38 18 07 04 13|"},
    {'p', "03 0a|04 13 33 44 47 38 18 07|"},
    {'q', "43 4a|44 33 13 04 07 18 38 47|"},
    {'r', "03 08|05 23 33|"},
    {'s', "44 33 13 04 15 35 46 47 38 18 07|"},
    {'t', "11 17 28 38|03 33|"},
    {'u', "03 07 18 38 47|43 48|"},
    {'v', "03 28 43|"},
    {'w', "03 18 34 58 63|"},
    {'x', "03 48|43 08|"},
    {'y', "03 28|43 1a 0a|"},
    {'z', "03 43 08 48|"},
    {'.', "07 08|"},
    {',', "17 09|"},
    {':', "04 05|07 08|"},
    {'-', "05 35|"},
    {'+', "05 45|23 27|"},
    {'/', "30 08|"},
    {'(', "10 02 06 18|"},
    {')', "00 12 16 08|"},
};

constexpr double pixelsPerUnit = lettering::height / 8.0;
constexpr int blank = 3; ///< units
constexpr int gap = 2;   ///< units between characters

int digit(char character)
{
    return character == 'a' ? 10 : character - '0';
}

std::string_view strokesOf(QChar character)
{
    const char wanted = character.toLower().toLatin1();
    const auto *const found = std::find_if(std::begin(glyphs), std::end(glyphs),
                                           [wanted](const Glyph &glyph) { return glyph.character == wanted; });
    return found == std::end(glyphs) ? std::string_view() : found->strokes;
}

/// Hands over each point with the sign behind it, `|` at the end of a stroke.
template <typename Take>
void walk(std::string_view strokes, Take take)
{
    for (; strokes.size() > 2; strokes.remove_prefix(3))
        take(digit(strokes[0]), digit(strokes[1]), strokes[2] == '|');
}

int unitsOf(std::string_view strokes)
{
    int units = strokes.empty() ? blank : 0;
    walk(strokes, [&units](int x, int, bool) { units = std::max(units, x); });
    return units;
}

} // namespace

int lettering::width(const QString &text)
{
    int units = 0;
    for (const QChar character : text)
        units += unitsOf(strokesOf(character)) + gap;
    return static_cast<int>(std::ceil(units * pixelsPerUnit));
}

void lettering::draw(QPainter &painter, const QPointF &at, const QString &text)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    QPointF corner = at;
    for (const QChar character : text) {
        const std::string_view strokes = strokesOf(character);
        QPolygonF line;
        walk(strokes, [&](int x, int y, bool isLast) {
            line << corner + QPointF(x, y) * pixelsPerUnit;
            if (isLast) {
                painter.drawPolyline(line);
                line.clear();
            }
        });
        corner.rx() += (unitsOf(strokes) + gap) * pixelsPerUnit;
    }
    painter.restore();
}
