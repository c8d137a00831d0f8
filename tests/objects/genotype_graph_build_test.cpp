#include "objects/genotype_graph_test_utils.h"

#include <gtest/gtest.h>

// A segment closes where it would get 9 fragments or 11 states (33 ordered): 3 heterozygous or 2 missing sites.
// Genotypes '0', '1', '2', '.' missing, 'h' a heterozygote stored as (1, 0); scaffold bits '0' or '1'.
TEST(genotype_graph_build, SegmentLimits) {
	typedef std::vector < unsigned int > counts;
	struct { std::string geno, scaffold; counts HapsS, probsC; } cases[] = {
		{ "0022002", "", { 7 }, { 1, 1 } },
		// The run before the fourth heterozygote stays in segment 1; each of 4 unordered states goes to both orders.
		{ "01h02001210", "", { 9, 2 }, { 4, 8, 1 } },
		{ "01h02001210", "00000000000", { 9, 2 }, { 8, 16, 2 } },
		// A scaffold bit keeps a heterozygote's order.
		{ "1h1", "010", { 3 }, { 4, 4 } },
		{ ".", "", { 1 }, { 3, 3 } },
		{ ".", "0", { 1 }, { 4, 4 } },
		{ "..", "", { 2 }, { 10, 10 } },
		{ "...", "", { 2, 1 }, { 10, 10 * 3 + 6 * 1, 3 } },
		{ "...", "000", { 2, 1 }, { 16, 64, 4 } },
	};
	for (auto & c : cases) {
		std::vector < std::vector < bool > > v(4);
		for (unsigned int l = 0 ; l < c.geno.size() ; l ++) {
			const char x = c.geno[l];
			v[0].push_back(x == '2' || x == 'h');
			v[1].push_back(x == '2' || x == '1');
			v[2].push_back(x == '.');
			v[3].push_back(l < c.scaffold.size() && c.scaffold[l] == '1');
		}
		genotype_graph g(2, 0);
		if (c.scaffold.empty()) g.buildUnr(v[0], v[1], v[2]);
		else g.buildUnr(v[0], v[1], v[2], v[3]);
		EXPECT_TRUE(graphtest::fault(g, c.geno.size()) == "" && g.HapsS == c.HapsS && g.probsC == c.probsC) << c.geno << " " << c.scaffold;
	}
}
