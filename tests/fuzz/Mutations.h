#pragma once

#include "Driver.h"

#include "Bytes.h"

#include <QtEndian>

#include <array>
#include <random>
#include <utility>

namespace fuzz
{

/// Damaged seeds, the same ones in every run: each seed in turn, with one to three damages.
class Mutations
{
public:
    explicit Mutations(std::vector<Seed> seeds) : m_seeds(std::move(seeds)) {}

    QByteArray next()
    {
        QByteArray bytes = m_seeds[m_number++ % m_seeds.size()].bytes;
        for (unsigned int damages = 1 + below(3); damages != 0 && !bytes.isEmpty(); --damages)
            damage(bytes);
        return bytes;
    }

private:
    /// The engine's own numbers: a distribution of the standard library's may differ from machine to machine.
    unsigned int below(unsigned int end) { return static_cast<unsigned int>(m_random() % end); }
    int placeIn(const QByteArray &bytes) { return static_cast<int>(below(static_cast<unsigned int>(bytes.size()))); }

    void damage(QByteArray &bytes)
    {
        switch (below(6)) {
        case 0: {
            const int place = placeIn(bytes);
            bytes[place] = static_cast<char>(bytes[place] ^ (1 << below(8)));
            break;
        }
        case 1:
            bytes.truncate(placeIn(bytes));
            break;
        case 2:
            putExtreme(bytes, placeIn(bytes) & ~3);
            break;
        case 3:
            putExtreme(bytes, placeIn(bytes));
            break;
        case 4: { // the end of another seed behind the front of this one
            const QByteArray &other = m_seeds[below(static_cast<unsigned int>(m_seeds.size()))].bytes;
            bytes = bytes.left(placeIn(bytes)) + (other.isEmpty() ? other : other.mid(placeIn(other)));
            break;
        }
        default: { // a part of it twice
            const int place = placeIn(bytes);
            bytes.insert(place, bytes.mid(placeIn(bytes), 64));
            break;
        }
        }
    }

    /// Where numbers go over, in the order of bytes that either kind of file has.
    void putExtreme(QByteArray &bytes, int place)
    {
        constexpr std::array<quint32, 10> extremes = {0,          1,          0x7fffffff, 0x80000000, 0xffffffff,
                                                      0xfffffffe, 0x01000000, 0x00010000, 0x7fc00000, 0x7f800000};
        const quint32 value = extremes[below(extremes.size())];
        if (place + 4 <= bytes.size())
            support::putAt(bytes, place, below(2) == 0 ? value : qToBigEndian(value));
    }

    std::vector<Seed> m_seeds;
    std::mt19937 m_random; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same ones in every run
    std::size_t m_number = 0;
};

} // namespace fuzz
