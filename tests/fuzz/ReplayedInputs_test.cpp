// The drivers of the search for inputs that break a reader, run without the search.

#include "Driver.h"

#include "Bytes.h"
#include "Mutations.h"

#include <gtest/gtest.h>

#include <QDir>

using fuzz::Driver;
using fuzz::Seed;

namespace
{

/// Of all seeds of a driver together.
constexpr int mutationsOfADriver = 1000;

class FuzzDriver : public testing::TestWithParam<const Driver *>
{
protected:
    static void SetUpTestSuite() { fuzz::silenceLibrary(); }
    static void TearDownTestSuite() { qInstallMessageHandler(nullptr); }
};

struct KeptFile
{
    const Driver *driver;
    QString path;
};

class KeptInput : public testing::TestWithParam<KeptFile>
{
protected:
    static void SetUpTestSuite() { fuzz::silenceLibrary(); }
    static void TearDownTestSuite() { qInstallMessageHandler(nullptr); }
};

QDir keptDirectory(const Driver &driver)
{
    return QDir(QStringLiteral(FUZZ_KEPT_DIR "/") + QString::fromLatin1(driver.name()));
}

std::vector<KeptFile> keptFiles()
{
    std::vector<KeptFile> files;
    for (const Driver *driver : Driver::all()) {
        const QDir directory = keptDirectory(*driver);
        for (const QString &name : directory.entryList(QDir::Files, QDir::Name))
            files.push_back({driver, directory.filePath(name)});
    }
    return files;
}

std::string nameOf(const testing::TestParamInfo<const Driver *> &info)
{
    return info.param->name();
}

std::string nameOfFile(const testing::TestParamInfo<KeptFile> &info)
{
    return info.param.driver->name() + std::string("_") + QFileInfo(info.param.path).fileName().toStdString();
}

TEST_P(FuzzDriver, TakesItsSeeds)
{
    const std::vector<Seed> seeds = GetParam()->seeds();
    EXPECT_FALSE(seeds.empty());
    for (const Seed &seed : seeds)
        EXPECT_TRUE(GetParam()->run(seed.bytes)) << seed.name.constData();
}

TEST_P(FuzzDriver, HoldsWhereSeedsAreDamaged)
{
    const std::vector<Seed> seeds = GetParam()->seeds();
    fuzz::Mutations mutations(seeds);
    for (int i = 0; i < mutationsOfADriver; ++i) {
        const QByteArray input = mutations.next();
        try {
            GetParam()->run(input);
        } catch (const std::exception &error) {
            FAIL() << error.what() << ", with mutation " << i << ": " << input.left(2000).toHex().constData();
        }
    }
}

TEST_P(KeptInput, BreaksNothingAgain)
{
    const QByteArray input = support::readFile(GetParam().path);
    EXPECT_NO_THROW(GetParam().driver->run(input));
}

TEST(KeptInputs, BelongToADriver)
{
    QStringList names;
    for (const Driver *driver : Driver::all())
        names.append(QString::fromLatin1(driver->name()));
    for (const QString &name : QDir(QStringLiteral(FUZZ_KEPT_DIR)).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        EXPECT_TRUE(names.contains(name)) << name.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Fuzz, FuzzDriver, testing::ValuesIn(Driver::all()), nameOf);
INSTANTIATE_TEST_SUITE_P(Fuzz, KeptInput, testing::ValuesIn(keptFiles()), nameOfFile);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(KeptInput);

} // namespace
