#pragma once

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <vector>

namespace ptCloud
{

/// Consecutive points of one source that fall into one box.
struct PointRun
{
    int box;
    unsigned int first;
    unsigned int count;
};

/// Cuts the points 0 to `count` - 1 into the longest stretches that lie in one box and hands each to `sink`, in order.
///
/// A box number below 0 is no box; such points belong to no run. This gives the runs of a walk that takes the boxes one
/// after another and counts how many points in a row each holds, since no point has two boxes.
template <typename BoxOf, typename Sink>
void walkRuns(unsigned int count, BoxOf boxOf, Sink sink)
{
    PointRun run = {-1, 0, 0};
    for (unsigned int i = 0; i < count; ++i) {
        const int box = boxOf(i);
        if (box == run.box)
            continue;
        run.count = i - run.first;
        if (run.box >= 0)
            sink(run);
        run = {box, i, 0};
    }
    run.count = count - run.first;
    if (run.box >= 0 && run.count != 0)
        sink(run);
}

/// The runs of one source in the order in which they were found, for walks over a part of the boxes.
///
/// They lie in pages that know the range of their boxes, so that a walk skips what it has no use for; and no page is
/// ever moved, so that a hundred million runs take no more than their own room.
class RunList
{
public:
    void append(const PointRun &run)
    {
        if (m_pages.empty() || m_pages.back()->used == Page::size)
            m_pages.push_back(std::make_unique<Page>());
        Page &page = *m_pages.back();
        page.runs[page.used++] = run;
        page.lowestBox = std::min(page.lowestBox, run.box);
        page.highestBox = std::max(page.highestBox, run.box);
    }

    quint64 size() const { return m_pages.empty() ? 0 : (m_pages.size() - 1) * Page::size + m_pages.back()->used; }

    /// Hands each run of the boxes `first` to `last` to `sink`.
    template <typename Sink>
    void walk(int first, int last, Sink sink) const
    {
        for (const auto &page : m_pages) {
            if (page->highestBox < first || page->lowestBox > last)
                continue;
            for (unsigned int i = 0; i < page->used; ++i) {
                const PointRun &run = page->runs[i];
                if (run.box >= first && run.box <= last)
                    sink(run);
            }
        }
    }

private:
    struct Page
    {
        static constexpr unsigned int size = 4096;

        unsigned int used = 0;
        int lowestBox = std::numeric_limits<int>::max();
        int highestBox = std::numeric_limits<int>::min();
        std::array<PointRun, size> runs;
    };

    std::vector<std::unique_ptr<Page>> m_pages;
};

} // namespace ptCloud
