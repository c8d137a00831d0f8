#include "input/genotype_checker.h"
#include "input/genotype_test_utils.h"

#include <sstream>

using namespace genotest;

namespace {

// One study member: a genotype character per site ('0', '1', '2' copies of the second allele, '.' missing); parents by identifier, "0" for none.
struct Member { std::string id, geno, father = "0", mother = "0"; bool male = false; };

// A hand-made study on sites rs0, rs1... at positions 100, 200... with alleles A/C, its members added and their parents resolved.
struct Study {
	filter_reader filter;
	genotype_reader G;
	reference_reader R;

	Study(int n_sites, const std::vector < Member > & members, bool chrX = false) : G(filter, chrX), R(filter, G.sites.get()) {
		for (int s = 0 ; s < n_sites ; s ++) G.putSnp("X", 100 * (s + 1), "A", "C", 3)->id = "rs" + std::to_string(s);
		G.sites->indexing();
		std::vector < std::string > fathers, mothers;
		for (Member m : members) {
			G.putInd(m.id);
			G.ind_male.back() = m.male;
			for (char c : m.geno) {
				G.hap0.back().push_back(c == '2');
				G.hap1.back().push_back(c == '1' || c == '2');
				G.missing.back().push_back(c == '.');
			}
			fathers.push_back(m.father);
			mothers.push_back(m.mother);
		}
		G.indexingPedigrees(fathers, mothers);
	}

	std::string geno(int i) {
		std::string out;
		for (size_t s = 0 ; s < G.missing[i].size() ; s ++) out += G.missing[i][s] ? '.' : (char)('0' + G.hap0[i][s] + G.hap1[i][s]);
		return out;
	}
};

// 20 unrelated heterozygotes at 20 sites, with the given (individual, site) cells missing.
std::vector < Member > grid(std::vector < std::pair < int, int > > missing_cells) {
	std::vector < Member > members;
	for (int i = 0 ; i < 20 ; i ++) members.push_back({ "i" + std::to_string(i), std::string(20, '1') });
	for (auto & c : missing_cells) members[c.first].geno[c.second] = '.';
	return members;
}

// One line per build record: type, child, father and mother as index:ord, with the main flags.
std::string show(const std::vector < std::map < std::string, int > > & units) {
	std::ostringstream s;
	for (auto & u : units) {
		EXPECT_EQ(u.size(), 9u);
		s << u.at("type") << " c" << u.at("idx_child") << ":" << u.at("ord_child");
		s << " f" << u.at("idx_father") << ":" << u.at("ord_father") << ":" << u.at("main_father");
		s << " m" << u.at("idx_mother") << ":" << u.at("ord_mother") << ":" << u.at("main_mother") << "\n";
	}
	return s.str();
}

}

struct genotype_checker_test : ::testing::Test {
	TempDir d;

	void SetUp() override {
		LOG.muteC();
		LOG.unmuteL();
		ASSERT_TRUE(LOG.open(d.file("run")));
	}
	void TearDown() override { LOG.close(); LOG.muteL(); }

	std::string log() { return d.read("run.log"); }
	std::string report(std::string suffix) { return d.read("run" + suffix); }
};

// No related individual: neither log lines nor reports. A mother at index 0 makes the summary count a trio as a duo, on the father's errors.
TEST_F(genotype_checker_test, MendelErrorsInTriosAndDuos) {
	Study unrelated(2, { { "a", "01" }, { "b", "21" } }), mother_zero(1, { { "M", "0" }, { "F", "0" }, { "C", "2", "F", "M" } });
	genotype_checker(unrelated.G, unrelated.R, false, false).checkMendelErrors();
	EXPECT_FALSE(has(log(), "Mendel") || testutils::exists(d.file("run.ind.me")));
	genotype_checker(mother_zero.G, mother_zero.R, false, false).checkMendelErrors();
	EXPECT_TRUE(has(log(), "  * 1 duos with high Mendel error rate (> 5%)\n  * 1 SNPs") && !has(log(), "trios with high")) << log();
	EXPECT_TRUE(has(report(".ind.me"), "C\tF\t1\tM\t1\t1\t0\n"));

	// Trio F x M -> C, father-only duo D -> K, mother-only duo Q -> R, and U unrelated at index 0, with Mendel errors at sites 0, 1, 3 and 6.
	Study st(10, { { "U", "0000000000" }, { "F", "001.100000" }, { "M", "0210000000" }, { "C", "20021.0000", "F", "M" },
		{ "D", "2000000000" }, { "K", "0000000000", "D" }, { "Q", "0000002100" }, { "R", "0000000000", "0", "Q" } });
	genotype_checker C(st.G, st.R, false, false);
	C.checkMendelErrors();
	EXPECT_EQ(C.het_count, std::vector < int > ({ 0, 0, 0, 3, 0, 0, 0, 1 }));
	EXPECT_TRUE(has(log(), "\nChecking Mendel errors...\n  * 1 trios with high Mendel error rate (> 5%)\n"
		"  * 2 father-child affiliations in trio with high Mendel error rate (> 5%)\n"
		"  * 1 mother-child affiliations in trio with high Mendel error rate (> 5%)\n"
		"  * 1 duos with high Mendel error rate (> 5%)\n  * 4 SNPs with high Mendel error rate (> 5%)\n")) << log();
	EXPECT_TRUE(has(report(".ind.me"), "\nC\tF\t1\tM\t3\t2\t1\nD\t0\t0\t0\t0\t0\t2\nK\tD\t1\t0\t0\t0\t2\nQ\t0\t0\t0\t0\t0\t3\nR\t0\t0\tQ\t1\t0\t3\n"));
	EXPECT_TRUE(has(report(".snp.me"), "id\tposition\tmendel\ttotal\nrs0\t100\t2\t3\nrs1\t200\t1\t3\nrs2\t300\t0\t3\nrs3\t400\t1\t3\nrs4\t500\t0\t3\nrs5\t600\t0\t2\n"));

	// Wiping blanks the whole family at each faulty site, and counts as checking does.
	genotype_checker W(st.G, st.R, false, false);
	W.wipeMendelErrors();
	EXPECT_EQ(W.het_count, C.het_count);
	std::string after;
	for (int i = 0 ; i < 8 ; i ++) after += st.geno(i) + " ";
	EXPECT_EQ(after, "0000000000 ..1.100000 ..1.000000 ..0.1.0000 .000000000 .000000000 000000.100 000000.000 ");
	// With the links removed, as for pedigree refinement, nothing is related any more.
	W.resetPedigrees();
	for (int i = 0 ; i < 8 ; i ++) EXPECT_TRUE(st.G.isFounder(i) && st.G.ind_family[i] == i && st.G.ind_children[i].empty());
}

TEST_F(genotype_checker_test, HaploidHeterozygousOnChromosomeX) {
	Study st(100, { { "A", "1." + std::string(98, '0'), "0", "0", true }, { "B", "0011" + std::string(96, '2'), "0", "Fe", true },
		{ "Fe", "1022" + std::string(96, '0') } }, true);
	genotype_checker(st.G, st.R, true, true).checkGenotypeData();
	EXPECT_TRUE(has(log(), "\nChecking haploid heterozygous in chrX...\n  * 3 haploid heterozygous blanked in 2 males chrX\n"
		"  * 1 individuals with high rates of haploid heterozygous (>1%)\n"
		"  * 3 SNPs with high rates of haploid heterozygous (>1%)\n\nChecking missingness and MAF...\n")) << log();
	// No Mendel check on chromosome X, even with a mother known.
	EXPECT_FALSE(has(log(), "Mendel"));
	EXPECT_EQ(report(".ind.hh"), "id\tmale\thaploid_hets\tn_snp\nA\t1\t1\t100\nB\t1\t2\t100\nFe\t0\t0\t100\n");
	EXPECT_TRUE(has(report(".snp.hh"), "id\tpos\thaploid_hets\tn_males\nrs0\t100\t1\t2\nrs1\t200\t0\t2\nrs2\t300\t1\t2\nrs3\t400\t1\t2\nrs4\t500\t0\t2\n"));
	// Blanked heterozygotes count as missing, and a male counts one allele.
	EXPECT_EQ(report(".ind.mm"), "id\tmissing\nA\t2\nB\t2\nFe\t0\n");
	EXPECT_TRUE(has(report(".snp.mm"), "\nrs4\t500\tA\tC\t0\t3\t1\t3\t0\n"));
	// Site 0 keeps the female heterozygote; site 1 was monomorphic and got filled.
	EXPECT_EQ(st.geno(0).substr(0, 3) + " " + st.geno(1).substr(0, 5) + " " + st.geno(2).substr(0, 4), ".00 00..2 1022");
}

// 2 of 20 (10%) is above 5% but no stop; above 10% the stop, after the reports, names the count above 5% unless forced; fully missing stops even so, but likelihoods only log it.
TEST_F(genotype_checker_test, MissingnessLimitsAndForce) {
	Study limit(20, grid({ { 0, 0 }, { 0, 1 }, { 1, 5 }, { 2, 5 } }));
	genotype_checker(limit.G, limit.R, false, false).checkMissingAndMAF(false);
	EXPECT_TRUE(has(log(), "\nChecking missingness and MAF...\n  * 1 individuals with high rates of missing data (>5%)\n"
		"  * 1 SNPs with high rates of missing data (>5%)\n"));
	EXPECT_TRUE(has(report(".ind.mm"), "\ni0\t2\ni1\t1\n"));

	Study inds(20, grid({ { 0, 0 }, { 0, 1 }, { 0, 2 }, { 1, 3 }, { 1, 4 } }));
	EXPECT_LOG_ERROR(genotype_checker(inds.G, inds.R, false, false).checkMissingAndMAF(false),
		"2 individuals with high rates of missing data \\(>10%\\)\\. These individuals should be removed\\. You can disable this error with --force \\(at your own risk\\)\\.");
	EXPECT_TRUE(has(report(".ind.mm"), "\ni0\t3\n"));
	genotype_checker(inds.G, inds.R, false, true).checkMissingAndMAF(false);
	EXPECT_TRUE(has(log(), "  * 2 individuals with high rates of missing data (>5%)\n"));

	std::vector < std::pair < int, int > > cells = { { 10, 1 }, { 11, 1 } }, site_cells, ind_cells;
	for (int k = 0 ; k < 20 ; k ++) {
		if (k < 10) cells.push_back({ k, 0 });
		site_cells.push_back({ k, 3 });
		ind_cells.push_back({ 7, k });
	}
	Study half(20, grid(cells)), site(20, grid(site_cells)), ind(20, grid(ind_cells));
	EXPECT_LOG_ERROR(genotype_checker(half.G, half.R, false, false).checkMissingAndMAF(false),
		"2 SNPs with high rates of missing data \\(>10%\\)\\.  These sites should be removed\\. You can disable this error with --force \\(at your own risk\\)\\.");
	EXPECT_LOG_ERROR(genotype_checker(site.G, site.R, false, true).checkMissingAndMAF(false), "1 fully missing SNPs \\(=100%\\)");
	EXPECT_LOG_ERROR(genotype_checker(ind.G, ind.R, false, true).checkMissingAndMAF(false), "1 fully missing individuals \\(=100%\\)");
	genotype_checker(half.G, half.R, false, true).checkMissingAndMAF(false);
	EXPECT_TRUE(has(log(), "  * 2 SNPs with high rates of missing data (>5%)\n"));
	// The site stays missing though it counts as monomorphic.
	genotype_checker(site.G, site.R, false, true).checkMissingAndMAF(true);
	EXPECT_TRUE(has(log(), "  * 1 fully missing SNPs (=100%)\n  * 1 monomorphic SNPs\n"));
	EXPECT_EQ(site.geno(0)[3], '.');
}

// Monomorphic sites are filled from hard calls only; one heterozygote alone makes a singleton.
TEST_F(genotype_checker_test, MonomorphicSitesAndSingletons) {
	for (bool likelihoods : { false, true }) {
		SCOPED_TRACE(likelihoods);
		LOG.close();
		ASSERT_TRUE(LOG.open(d.file("run")));
		Study st(5, { { "a", "02110" }, { "b", "0.010" }, { "c", ".2000" } });
		genotype_checker(st.G, st.R, false, true).checkMissingAndMAF(likelihoods);
		EXPECT_TRUE(has(log(), "  * 3 monomorphic SNPs\n") && has(log(), "  * 1 singletons SNPs\n")) << log();
		EXPECT_EQ(st.geno(1) + " " + st.geno(2), likelihoods ? "0.010 .2000" : "02010 02000");
	}
}

// The child with more heterozygous sites goes first: P is phased by his own record, as the child of his founders; the other way, P is in two records.
TEST_F(genotype_checker_test, BuildOrder) {
	Study gen3(1, { { "GF", "0" }, { "GM", "0" }, { "P", "0", "GF", "GM" }, { "S", "0" }, { "C", "0", "P", "S" } });
	gen3.G.ind_order = { 10, 11, 12, 13, 14 };
	genotype_checker G(gen3.G, gen3.R, false, false);
	std::vector < std::map < std::string, int > > units;
	G.het_count = { 0, 0, 5, 0, 1 };
	G.order(units);
	EXPECT_EQ(show(units), "4 c4:14 f2:12:0 m3:13:1\n4 c2:12 f0:10:1 m1:11:1\n");
	G.het_count = { 0, 0, 1, 0, 5 };
	EXPECT_LOG_ERROR(G.order(units), "  \\* 1 samples are included in several duos/trios, check list in .*/run\\.inc\\.me\nYou can use the --duohmm flag to phase complex pedigrees\\.");
	EXPECT_EQ(report(".inc.me"), "id\nP\n");
}
