#pragma once

#include "FaultRun.h"
#include "FaultStand.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace support
{

/// A told rule by which a run with a fault, or the one after it, does not end as others do.
struct ToldRule
{
    const char *words;
    const char *calls;        ///< the kinds of calls, with blanks between
    const char *results = ""; ///< an expression: results that are allowed besides
    const char *paths = "";   ///< an expression: these may be there, differ or be missing
    bool isRepeatable = true; ///< whether a second run must still succeed
    const char *shown = "";   ///< an expression: what the command-line host may show besides
};

/// A command, and what the failure table tells of it.
struct FaultRow
{
    const char *name;
    const char *command;
    const char *done;   ///< an expression: what a run tells that nothing disturbs
    const char *failed; ///< an expression: what others tell
    const char *leaves; ///< an expression: paths below the stand that a failed run may make or change
    std::vector<ToldRule> rules = {};
    const char *noticed = ""; ///< kinds of calls, with blanks between, whose failure must show in the result
};

inline void PrintTo(const FaultRow &row, std::ostream *out)
{
    *out << row.command;
}

/// Runs a row with each call of each kind failing in turn, until a run passes that does not reach the fault.
class Faults : public ::testing::TestWithParam<FaultRow>
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Every kind of failure. FAULTS=all in the environment widens both the kinds and the numbers.
    void tryAll();

private:
    void trySome(const Fault &fault);
    /// Whether the fault was reached.
    bool tryOne(const Fault &fault);
    void expectSound(const Outcome &outcome);
    void expectUnnoticed(const Fault &fault, const Outcome &outcome);
    void expectFailed(const Fault &fault, const Outcome &outcome);
    void expectRepeatable(const Outcome &failed, const QString &except);
    bool isProgram() const;
    bool isForNobody(const Fault &fault) const;
    /// The rules that hold for a fault, as one.
    struct Allowed
    {
        QString results;
        QString paths;
        bool isRepeatable = true;
        QString shown;
    };
    Allowed allowedBy(const Fault &fault) const;
    /// Which entries differ, but for those that match the expression.
    std::string differences(const DiskState &expected, const QString &except) const;

    FaultStand m_stand;
    FaultRunner m_runner{m_stand.inside()};
    QByteArray m_done;      ///< what an undisturbed run tells
    QByteArray m_shown;     ///< shows
    DiskState m_afterwards; ///< and leaves
    int m_runs = 0;
    int m_reached = 0;
};

struct FaultRowName
{
    std::string operator()(const ::testing::TestParamInfo<FaultRow> &info) const { return info.param.name; }
};

} // namespace support
