// Matrix products and inverses beside Eigen's matrices of fixed size, double precision, in one run.
//
// The inverse of an affine matrix keeps up. That of any other costs about five times as much: its order of operations
// is part of the result, an elimination with full pivoting whose every step searches and waits for the step before,
// while Eigen takes cofactors without a pivot.
//
// Each benchmark walks the same array of matrices, so that neither side works on one matrix in registers for ever.

#include "pcMatrix.h"

#include <benchmark/benchmark.h>

#include <Eigen/Dense>

#include <random>
#include <vector>

using namespace ptCloud;

namespace
{

using EigenMatrix = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;
using EigenMatrices = std::vector<EigenMatrix, Eigen::aligned_allocator<EigenMatrix>>;

constexpr std::size_t count = 256;

/// Random matrices; affine ones have the last column of a transformation without projection.
std::vector<pcMatrixd> randomMatrices(bool affine)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> element(-2.0, 2.0);
    std::vector<pcMatrixd> matrices(count);
    for (pcMatrixd &m : matrices) {
        for (int row = 0; row < 4; ++row) {
            for (int col = 0; col < (affine ? 3 : 4); ++col)
                m(row, col) = element(random);
        }
    }
    return matrices;
}

EigenMatrices eigenMatrices(const std::vector<pcMatrixd> &matrices)
{
    EigenMatrices same(matrices.size());
    for (std::size_t i = 0; i < matrices.size(); ++i) {
        for (int k = 0; k < 16; ++k)
            same[i](k / 4, k % 4) = matrices[i](k / 4, k % 4);
    }
    return same;
}

/// Applies `work` to each matrix and the one behind it.
template <typename Matrices, typename Work>
void walk(benchmark::State &state, const Matrices &matrices, Work work)
{
    Matrices results(matrices.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < count; ++i)
            work(matrices[i], matrices[(i + 1) % count], results[i]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

void product(benchmark::State &state)
{
    walk(state, randomMatrices(false), [](const auto &a, const auto &b, auto &result) { result = a * b; });
}
BENCHMARK(product);

void productInPlace(benchmark::State &state)
{
    walk(state, randomMatrices(false), [](const auto &a, const auto &b, auto &result) { result.mult(a, b); });
}
BENCHMARK(productInPlace);

void productEigen(benchmark::State &state)
{
    walk(state, eigenMatrices(randomMatrices(false)),
         [](const auto &a, const auto &b, auto &result) { result.noalias() = a * b; });
}
BENCHMARK(productEigen);

void inverse(benchmark::State &state)
{
    walk(state, randomMatrices(state.range(0) != 0),
         [](const auto &m, const auto &, auto &result) { result.invert(m); });
}
BENCHMARK(inverse)->ArgName("affine")->Arg(1)->Arg(0);

void inverseEigen(benchmark::State &state)
{
    walk(state, eigenMatrices(randomMatrices(state.range(0) != 0)),
         [](const auto &m, const auto &, auto &result) { result = m.inverse(); });
}
BENCHMARK(inverseEigen)->ArgName("affine")->Arg(1)->Arg(0);

} // namespace
