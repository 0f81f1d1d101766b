#pragma once

#include "MRegions.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace ZOLAR3D::test {

inline std::vector<int> labelsOf(const MRegions &regions)
{
    std::vector<int> labels(static_cast<std::size_t>(regions.size()));
    for (int i = 0; i < regions.size(); ++i)
        labels[std::size_t(i)] = regions[i];
    return labels;
}

inline std::vector<int> sizesOf(const MRegions &regions)
{
    std::vector<int> sizes(static_cast<std::size_t>(regions.numRegions()));
    for (int r = 0; r < regions.numRegions(); ++r)
        sizes[std::size_t(r)] = regions.regionSize(r);
    return sizes;
}

// Every label is -1 or a region number, and every size counts its labels.
inline void expectRegionInvariants(const MRegions &regions)
{
    std::vector<int> counts(static_cast<std::size_t>(regions.numRegions()), 0);
    for (int i = 0; i < regions.size(); ++i) {
        const int label = regions[i];
        ASSERT_GE(label, -1) << "element " << i;
        ASSERT_LT(label, regions.numRegions()) << "element " << i;
        if (label >= 0)
            ++counts[std::size_t(label)];
    }
    EXPECT_EQ(sizesOf(regions), counts);
}

// Plain union-find for the brute-force models of connectivity.
class UnionFind {
public:
    explicit UnionFind(std::size_t n) : m_parent(n) { std::iota(m_parent.begin(), m_parent.end(), 0); }
    int find(int i)
    {
        while (m_parent[std::size_t(i)] != i)
            i = m_parent[std::size_t(i)] = m_parent[std::size_t(m_parent[std::size_t(i)])];
        return i;
    }
    void join(int a, int b) { m_parent[std::size_t(find(a))] = find(b); }

private:
    std::vector<int> m_parent;
};

} // namespace ZOLAR3D::test
