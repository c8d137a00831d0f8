#include "containers/genhap_set/genhap_set.h"
#include "modules/rare_phaser.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "test_utils.h"

namespace {

// Units of the given kinds over 40 sites 1 kb apart, then `panel` panel haplotypes.
struct Cohort {
	snp_set S;
	genhap_set GH;
	Cohort(const std::vector < int > & types, const std::vector < std::string > & haps, int panel) {
		for (int l = 0 ; l < 40 ; l ++) S.put(new snp("1", 1000 * (l + 1), "A", "C", 3));
		S.indexing();
		std::vector < genotype_graph * > graphs;
		for (unsigned int i = 0 ; i < types.size() ; i ++) graphs.push_back(new genotype_graph(types[i], i));
		GH.initialise(graphs, &S);
		GH.vecH.resize(GH.vecH.size() + panel, chaplotype(40));
		GH.hap_names.resize(GH.hap_names.size() + panel, "panel");
		for (unsigned int h = 0 ; h < GH.vecH.size() ; h ++) for (int l = 0 ; l < 40 ; l ++) GH.vecH[h].set(l, haps[h][l] == '1');
	}
	std::string hap(int h) const { return GH.vecH[h].toString(); }
};

const std::string common = "0110100110010110011010011001011001101001";
// Far from every other haplotype but at site 20.
const std::string lone =   "1001011001101001100111100110100110010110";

}

// A singleton at site 20 (a 1, or a 0 among 1s) moves to the haplotype far from all others.
// It stays on a duo, where a read pinned site 20 (not elsewhere), or if the panel carries it.
TEST(rare_phaser, SingletonGoesToTheFartherHaplotype) {
	testutils::silenceLog();
	struct Case { std::vector < int > types; int panel, carrier, expected; std::vector < int > pinned; char allele; };
	const Case cases[] = {
		{ { 2, 2, 2, 2 }, 0, 0, 1, {}, '1' }, { { 2, 2, 2, 2 }, 0, 1, 1, {}, '1' }, { { 2, 2, 2, 2 }, 0, 0, 1, {}, '0' },
		{ { 3, 2, 2, 2 }, 0, 0, 0, {}, '1' }, { { 2, 2, 2, 2 }, 1, 0, 0, {}, '1' },
		{ { 2, 2, 2, 2 }, 0, 0, 0, { 19, 20 }, '1' }, { { 2, 2, 2, 2 }, 0, 0, 1, { 19, 21 }, '1' },
	};
	for (const Case & c : cases) {
		std::vector < std::string > haps = { common, lone };
		haps.resize(2 * c.types.size() + (c.types[0] == 3), common);
		for (std::string & h : haps) h[20] = c.allele == '1' ? '0' : '1';
		haps[c.carrier][20] = c.allele;
		if (c.panel) haps.push_back(haps[c.carrier]);
		Cohort x(c.types, haps, c.panel);
		const std::vector < std::vector < int > > pins = { c.pinned };
		rare_phaser R(x.GH, &pins);
		work_queue workers(2);
		R.phase(workers);
		EXPECT_EQ(x.hap(c.expected)[20], c.allele) << c.carrier << " " << c.expected;
		for (int l = 0 ; l < 40 ; l ++) EXPECT_EQ(x.hap(0)[l] + x.hap(1)[l], haps[0][l] + haps[1][l]) << l;
		EXPECT_TRUE(c.expected != c.carrier || x.hap(0) + x.hap(1) == haps[0] + haps[1]);
	}
	// Distances leave the site out; a match runs to the first difference (5 kb to 33 kb at 20).
	std::string b = common;
	for (int l : { 3, 20, 33, 39 }) b[l] = b[l] == '1' ? '0' : '1';
	Cohort x({ 2 }, { common, b }, 0);
	rare_phaser R(x.GH);
	EXPECT_EQ(std::vector < int > ({ R.distance(0, 1, 0, 39, 20), R.distance(0, 1, 4, 32, 20), R.distance(0, 1, 3, 38, 10) }), std::vector < int > ({ 3, 0, 3 }));
	EXPECT_EQ(std::vector < double > ({ R.match(0, 1, 20), R.match(0, 1, 3), R.match(0, 1, 0) }), std::vector < double > ({ 28000.0, 19000.0, 2000.0 }));
}
