#include "FaultTesting.h"

#include <QRegularExpression>

#include <algorithm>
#include <iostream>

namespace support
{

namespace
{

/// How a call can fail; the errors behind the first few are tried in the complete run only.
struct Kind
{
    const char *call;
    std::vector<const char *> errors;
    std::vector<const char *> moreErrors;
    const char *lasting; ///< an error that stays once it has come; null where none does
};

const Kind kinds[] = {
    {"open", {"EMFILE", "EINTR"}, {"EIO", "ENOSPC", "EACCES"}, "EMFILE"},
    {"read", {"EIO", "EINTR", "short", "short+EIO"}, {}, "EIO"},
    {"write", {"ENOSPC", "EINTR", "short", "short+ENOSPC"}, {"EIO"}, "ENOSPC"},
    {"seek", {"EIO"}, {}, nullptr},
    {"truncate", {"EIO", "EINTR"}, {"ENOSPC"}, nullptr},
    {"reserve", {"ENOSPC", "EINTR"}, {"EIO"}, "ENOSPC"},
    {"map", {"ENOMEM"}, {"EACCES"}, nullptr},
    {"close", {"EIO", "EINTR"}, {"ENOSPC"}, nullptr},
    {"sync", {"EIO"}, {"ENOSPC"}, nullptr},
    {"rename", {"EIO"}, {"ENOSPC", "EACCES"}, "ENOSPC"},
    {"remove", {"EACCES"}, {"EIO"}, "EACCES"},
    {"mkdir", {"ENOSPC"}, {"EIO", "EACCES"}, nullptr},
    {"list", {"EMFILE"}, {"EIO", "EACCES"}, "EMFILE"},
    {"look", {"EIO"}, {"EACCES"}, nullptr},
    {"fork", {"EAGAIN"}, {"ENOMEM"}, nullptr},
    {"thread", {"EAGAIN"}, {}, nullptr},
    {"shm", {"ENOSPC"}, {"EACCES", "EMFILE"}, "ENOSPC"},
    {"memory", {"ENOMEM"}, {}, "ENOMEM"},
    // A disk that is full, one that is gone, and a process that has no descriptor left.
    {"write,reserve,rename,mkdir", {}, {}, "ENOSPC"},
    {"open,read,write,reserve,truncate,rename,remove,mkdir,list,look,sync,close", {}, {}, "EIO"},
    {"open,list", {}, {}, "EMFILE"},
};

bool isComplete()
{
    return qgetenv("FAULTS") == "all";
}

/// The numbers are tried one by one at first; in the short run, further ones lie wider and wider apart, and soon so
/// where each run starts a program.
int following(int number, bool isProgram)
{
    constexpr int mostDense = 8;
    if (isComplete() || (number < mostDense && !isProgram))
        return number + 1;
    return isProgram ? number + 1 + number / 2 : number + number / 3;
}

int failureCount()
{
    return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

/// An expression without letters matches nothing.
bool matches(const QByteArray &text, const QString &expression)
{
    const QRegularExpression whole(QRegularExpression::anchoredPattern(expression));
    return !expression.isEmpty() && whole.match(QString::fromUtf8(text)).hasMatch();
}

QString either(const QString &one, const QString &other)
{
    if (one.isEmpty() || other.isEmpty())
        return one + other;
    return QStringLiteral("(%1)|(%2)").arg(one, other);
}

bool isAmong(const QByteArray &word, const char *words)
{
    return QByteArray(words).split(' ').contains(word);
}

} // namespace

void Faults::SetUp()
{
    ASSERT_TRUE(m_stand.isValid());
    const Outcome outcome = m_runner.run(GetParam().command, {});
    expectSound(outcome);
    m_done = outcome.result;
    m_shown = outcome.shown;
    m_afterwards = m_stand.state();
    ASSERT_TRUE(matches(m_done, QString::fromUtf8(GetParam().done)))
        << m_done.constData() << outcome.errors.constData();
}

void Faults::TearDown()
{
    std::cout << "[ FAULTS   ] " << GetParam().name << ": " << m_runs << " runs, " << m_reached << " faults reached\n";
    RecordProperty("runs", m_runs);
    RecordProperty("reached", m_reached);
}

void Faults::tryAll()
{
    for (const Kind &kind : kinds) {
        for (const char *error : kind.errors) {
            const bool isFirst = error == kind.errors.front();
            if (isFirst || isComplete() || !isProgram())
                trySome({kind.call, error, false});
        }
        for (const char *error : kind.moreErrors) {
            if (isComplete())
                trySome({kind.call, error, false});
        }
        const bool isUnion = kind.errors.empty();
        if (kind.lasting != nullptr && (isUnion || isComplete() || !isProgram()))
            trySome({kind.call, kind.lasting, true});
    }
    EXPECT_GT(m_reached, 0);
}

bool Faults::isProgram() const
{
    return qstrncmp(GetParam().command, "ptcloud ", 8) == 0;
}

void Faults::trySome(const Fault &fault)
{
    const int failuresBefore = failureCount();
    // One cause often shows at every number.
    for (Fault next = fault; tryOne(next) && failureCount() == failuresBefore;)
        next.number = following(next.number, isProgram());
}

bool Faults::tryOne(const Fault &fault)
{
    SCOPED_TRACE(fault.words().constData());
    m_stand.layDown();
    const Outcome outcome = m_runner.run(GetParam().command, fault);
    ++m_runs;
    expectSound(outcome);
    EXPECT_EQ(differences(m_stand.before(), QStringLiteral("inside.*")), "");
    if (outcome.failed != 0)
        ++m_reached;
    if (outcome.result == m_done)
        expectUnnoticed(fault, outcome);
    else
        expectFailed(fault, outcome);
    return outcome.failed != 0 && outcome.end != "hung";
}

void Faults::expectSound(const Outcome &outcome)
{
    EXPECT_STREQ(outcome.end.constData(), "exit 0") << outcome.errors.constData();
    for (const char *report : {"Sanitizer", "runtime error", "terminate called"})
        EXPECT_FALSE(outcome.errors.contains(report)) << outcome.errors.constData();
}

bool Faults::isForNobody(const Fault &fault) const
{
    if (!fault.isHarmless() || qstrcmp(fault.call, "close") != 0)
        return fault.isHarmless();
    // It can't be made again, and whether its last bytes arrived is not told: who tells of a close that fails may tell
    // of one that is interrupted.
    const std::vector<ToldRule> &rules = GetParam().rules;
    const auto isOfClosing = [](const ToldRule &rule) { return isAmong("close", rule.calls); };
    return !isAmong("close", GetParam().noticed) && std::none_of(rules.begin(), rules.end(), isOfClosing);
}

/// The run went on where a call failed; then nothing may be missing.
void Faults::expectUnnoticed(const Fault &fault, const Outcome &outcome)
{
    const Allowed allowed = outcome.failed == 0 ? Allowed() : allowedBy(fault);
    EXPECT_EQ(differences(m_afterwards, allowed.paths), "") << "told success: " << outcome.result.constData();
    EXPECT_TRUE(outcome.failed == 0 || !isAmong(fault.call, GetParam().noticed)) << "told success";
    const bool isTold = !allowed.paths.isEmpty() || outcome.errors.contains("warning: ");
    EXPECT_TRUE(isTold || outcome.shown == m_shown || matches(outcome.shown.simplified(), allowed.shown))
        << "shown: " << outcome.shown.constData();
}

void Faults::expectFailed(const Fault &fault, const Outcome &outcome)
{
    const Allowed allowed = allowedBy(fault);
    EXPECT_NE(outcome.failed, 0);
    EXPECT_TRUE(matches(outcome.result, QString::fromUtf8(GetParam().failed))
                || matches(outcome.result, allowed.results))
        << outcome.result.constData() << "\n"
        << outcome.errors.constData();
    EXPECT_FALSE(isForNobody(fault)) << outcome.result.constData() << "\n" << outcome.errors.constData();
    EXPECT_EQ(differences(m_stand.before(), either(QString::fromUtf8(GetParam().leaves), allowed.paths)), "")
        << "told failure: " << outcome.result.constData();
    const DiskState now = m_stand.state();
    const QList<QByteArray> bytes = now.values();
    bool isPastTheWork = false;
    const QString made = QStringLiteral("inside/project/new/Points");
    for (const char *source : {"inside/project/a", "inside/project/b"}) {
        const QString points = QLatin1String(source) + QStringLiteral("/Points");
        // It was to go; what was to be made of it, if anything, is there and whole; and the command failed behind that.
        const bool isDone = !m_afterwards.contains(points) && now.value(made) == m_afterwards.value(made);
        if (isDone && matches(points.toUtf8(), allowed.paths) && !now.contains(points)) {
            isPastTheWork = true;
            continue;
        }
        EXPECT_TRUE(bytes.contains(m_stand.before()[points])) << "lost: " << qPrintable(points);
    }
    if (allowed.isRepeatable && !isPastTheWork)
        expectRepeatable(outcome, allowed.paths);
}

/// What a failed run leaves does not stand in the way of the same run, or tell in its result.
void Faults::expectRepeatable(const Outcome &failed, const QString &except)
{
    QByteArray command = GetParam().command;
    // As the command-line host advises, which does not put back a project file by itself.
    if (failed.errors.contains("--recover"))
        command += " --recover";
    const Outcome outcome = m_runner.run(command.constData(), {});
    ++m_runs;
    EXPECT_STREQ(outcome.result.constData(), m_done.constData()) << "the second run\n" << outcome.errors.constData();
    EXPECT_EQ(differences(m_afterwards, except), "") << "the second run";
}

Faults::Allowed Faults::allowedBy(const Fault &fault) const
{
    Allowed allowed;
    const QStringList calls = QString::fromLatin1(fault.call).split(QLatin1Char(','));
    for (const ToldRule &rule : GetParam().rules) {
        for (const QString &call : calls) {
            if (!isAmong(call.toLatin1(), rule.calls))
                continue;
            allowed.results = either(allowed.results, QString::fromUtf8(rule.results));
            allowed.paths = either(allowed.paths, QString::fromUtf8(rule.paths));
            allowed.shown = either(allowed.shown, QString::fromUtf8(rule.shown));
            allowed.isRepeatable = allowed.isRepeatable && rule.isRepeatable;
        }
    }
    return allowed;
}

std::string Faults::differences(const DiskState &expected, const QString &except) const
{
    // Files for locks, and the log, which tells the time, are nobody's result.
    const QString ignored = either(QStringLiteral("inside/tmp/qipc_.*|inside/home/.*"), except);
    const DiskState now = m_stand.state();
    QStringList names = now.keys();
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        if (!now.contains(it.key()))
            names << it.key();
    }
    QStringList different;
    for (const QString &name : names) {
        const bool isSame = now.contains(name) && expected.contains(name) && now[name] == expected[name];
        if (!isSame && !matches(name.toUtf8(), ignored))
            different << (now.contains(name)
                              ? expected.contains(name) ? QStringLiteral("changed: ") : QStringLiteral("new: ")
                              : QStringLiteral("missing: "))
                             + name;
    }
    return different.join(QStringLiteral(", ")).toStdString();
}

TEST_P(Faults, EndAsTheFailureTableTells)
{
    tryAll();
}

} // namespace support
