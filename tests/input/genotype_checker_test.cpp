#include "input/genotype_checker.h"
#include "test_utils.h"

#include <fstream>
#include <sstream>

using testutils::TempDir;

namespace {

// A hand-made study on sites rs0, rs1... at positions 100, 200... with alleles A/C.
// Genotypes are one character per site: '0' homozygous first allele, '1' heterozygous,
// '2' homozygous second allele, '.' missing. Parents are identifiers, "0" for none.
class Study {
public:
	filter_reader filter;
	genotype_reader G;
	reference_reader R;
	std::vector < std::string > fathers, mothers;

	Study(int n_sites, bool chrX = false) : G(filter, chrX), R(filter, G.sites) {
		for (int s = 0 ; s < n_sites ; s ++) G.putSnp("X", 100 * (s + 1), "A", "C", 3)->id = "rs" + std::to_string(s);
		G.sites->indexing();
	}
	~Study() { delete G.sites; }

	void add(std::string id, std::string geno, std::string father = "0", std::string mother = "0", bool male = false) {
		ASSERT_TRUE(G.putInd(id));
		int i = G.ind_id.size() - 1;
		G.ind_male[i] = male;
		for (char c : geno) {
			G.hap0[i].push_back(c == '2');
			G.hap1[i].push_back(c == '1' || c == '2');
			G.missing[i].push_back(c == '.');
		}
		fathers.push_back(father);
		mothers.push_back(mother);
	}

	// Resolves the parents, once all individuals are in.
	void link() { G.indexingPedigrees(fathers, mothers); }

	// A panel sample given by its two haplotypes, '1' being the second allele.
	void addRef(std::string h0, std::string h1) {
		std::string id = "ref", group = "ALL";
		R.putInd(id, group, group);
		for (size_t s = 0 ; s < h0.size() ; s ++) {
			R.hap0.back()[s] = h0[s] == '1';
			R.hap1.back()[s] = h1[s] == '1';
		}
	}

	std::string geno(int i) {
		std::string out;
		for (size_t s = 0 ; s < G.missing[i].size() ; s ++)
			out += G.missing[i][s] ? '.' : (char)('0' + G.hap0[i][s] + G.hap1[i][s]);
		return out;
	}
};

// A complete 20 x 20 study of heterozygotes, with the given (individual, site) cells missing.
void grid(Study & st, std::vector < std::pair < int, int > > missing_cells) {
	for (int i = 0 ; i < 20 ; i ++) {
		std::string g(20, '1');
		for (auto & c : missing_cells) if (c.first == i) g[c.second] = '.';
		st.add("i" + std::to_string(i), g);
	}
	st.link();
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

// Trio F x M -> C, father-only duo D -> K, mother-only duo Q -> R, and U unrelated at index 0,
// with Mendel errors at sites 0, 1, 3 and 6.
void pedigree(Study & st) {
	st.add("U", "0000000000");
	st.add("F", "001.100000");
	st.add("M", "0210000000");
	st.add("C", "20021.0000", "F", "M");
	st.add("D", "2000000000");
	st.add("K", "0000000000", "D");
	st.add("Q", "0000002100");
	st.add("R", "0000000000", "0", "Q");
	st.link();
}

}

class genotype_checker_test : public ::testing::Test {
protected:
	TempDir d;
	std::vector < std::map < std::string, int > > units;

	void SetUp() override {
		LOG.muteC();
		LOG.unmuteL();
		ASSERT_TRUE(LOG.open(d.file("run")));
	}

	void TearDown() override { LOG.close(); LOG.muteL(); }

	std::string report(std::string suffix) { return d.read("run" + suffix); }
	bool exists(std::string suffix) { return std::ifstream(d.file("run" + suffix)).good(); }
};

TEST_F(genotype_checker_test, MendelErrorsInTriosAndDuos) {
	Study st(10);
	pedigree(st);
	genotype_checker C(st.G, st.R, false, false);
	C.checkMendelErrors();
	EXPECT_EQ(C.het_count, std::vector < int > ({ 0, 0, 0, 3, 0, 0, 0, 1 }));
	std::string log = d.read("run.log");
	EXPECT_NE(log.find("\nChecking Mendel errors...\n"
		"  * 1 trios with high Mendel error rate (> 5%)\n"
		"  * 2 father-child affiliations in trio with high Mendel error rate (> 5%)\n"
		"  * 1 mother-child affiliations in trio with high Mendel error rate (> 5%)\n"
		"  * 1 duos with high Mendel error rate (> 5%)\n"
		"  * 4 SNPs with high Mendel error rate (> 5%)\n"), std::string::npos) << log;
	EXPECT_EQ(log.find("Low level"), std::string::npos);
	EXPECT_EQ(report(".ind.me"), "id\tfather_id\tfather_mendel\tmother_id\tmother_mendel\tfather_mother_mende\tfamID\n"
		"U\t0\t0\t0\t0\t0\t0\nF\t0\t0\t0\t0\t0\t1\nM\t0\t0\t0\t0\t0\t1\nC\tF\t1\tM\t3\t2\t1\n"
		"D\t0\t0\t0\t0\t0\t2\nK\tD\t1\t0\t0\t0\t2\nQ\t0\t0\t0\t0\t0\t3\nR\t0\t0\tQ\t1\t0\t3\n");
	EXPECT_EQ(report(".snp.me"), "id\tposition\tmendel\ttotal\nrs0\t100\t2\t3\nrs1\t200\t1\t3\nrs2\t300\t0\t3\n"
		"rs3\t400\t1\t3\nrs4\t500\t0\t3\nrs5\t600\t0\t2\nrs6\t700\t1\t3\nrs7\t800\t0\t3\nrs8\t900\t0\t3\nrs9\t1000\t0\t3\n");
	EXPECT_EQ(st.geno(3), "20021.0000");
}

TEST_F(genotype_checker_test, WipeMendelErrorsBlanksTheFamilyAtTheSite) {
	Study st(10);
	pedigree(st);
	genotype_checker C(st.G, st.R, false, false);
	C.wipeMendelErrors();
	EXPECT_EQ(C.het_count, std::vector < int > ({ 0, 0, 0, 3, 0, 0, 0, 1 }));
	std::string after;
	for (int i = 0 ; i < 8 ; i ++) after += st.geno(i) + " ";
	EXPECT_EQ(after, "0000000000 ..1.100000 ..1.000000 ..0.1.0000 .000000000 .000000000 000000.100 000000.000 ");

	// With the links removed, as for pedigree refinement, nothing is related any more.
	C.resetPedigrees();
	for (int i = 0 ; i < 8 ; i ++) EXPECT_TRUE(st.G.isFounder(i) && st.G.ind_family[i] == i && st.G.ind_children[i].empty());
}

TEST_F(genotype_checker_test, MendelSummaryEdgeCases) {
	// No related individual: neither log lines nor reports.
	Study unrelated(2);
	unrelated.add("a", "01");
	unrelated.add("b", "21");
	unrelated.link();
	genotype_checker(unrelated.G, unrelated.R, false, false).checkMendelErrors();
	EXPECT_EQ(d.read("run.log").find("Mendel"), std::string::npos);
	EXPECT_FALSE(exists(".ind.me"));

	// A child missing everywhere: totals of 0 are no error rate.
	Study empty_child(2);
	empty_child.add("P", "02");
	empty_child.add("K", "..", "P");
	empty_child.link();
	genotype_checker(empty_child.G, empty_child.R, false, false).checkMendelErrors();
	EXPECT_NE(d.read("run.log").find("  * Low level of Mendel error in all trios and duos\n"), std::string::npos);
	EXPECT_EQ(d.read("run.log").find("SNPs with high"), std::string::npos);
	EXPECT_EQ(report(".snp.me"), "id\tposition\tmendel\ttotal\nrs0\t100\t0\t0\nrs1\t200\t0\t0\n");

	// A mother at index 0 makes the summary count a trio as a duo, on the father's errors.
	Study mother_zero(1);
	mother_zero.add("M", "0");
	mother_zero.add("F", "0");
	mother_zero.add("C", "2", "F", "M");
	mother_zero.link();
	genotype_checker(mother_zero.G, mother_zero.R, false, false).checkMendelErrors();
	std::string log = d.read("run.log");
	EXPECT_NE(log.find("  * 1 duos with high Mendel error rate (> 5%)\n  * 1 SNPs"), std::string::npos) << log;
	EXPECT_EQ(log.find("trios with high"), std::string::npos);
	EXPECT_NE(report(".ind.me").find("C\tF\t1\tM\t1\t1\t0\n"), std::string::npos);
}

TEST_F(genotype_checker_test, HaploidHeterozygousOnChromosomeX) {
	Study st(100, true);
	st.add("A", "1." + std::string(98, '0'), "0", "0", true);
	st.add("B", "0011" + std::string(96, '2'), "0", "Fe", true);
	st.add("Fe", "1022" + std::string(96, '0'));
	st.link();
	genotype_checker C(st.G, st.R, true, true);
	C.checkGenotypeData();
	std::string log = d.read("run.log");
	EXPECT_NE(log.find("\nChecking haploid heterozygous in chrX...\n"
		"  * 3 haploid heterozygous blanked in 2 males chrX\n"
		"  * 1 individuals with high rates of haploid heterozygous (>1%)\n"
		"  * 3 SNPs with high rates of haploid heterozygous (>1%)\n\nChecking missingness and MAF...\n"), std::string::npos) << log;
	// No Mendel check on chromosome X, even with a mother known.
	EXPECT_EQ(log.find("Mendel"), std::string::npos);
	EXPECT_EQ(report(".ind.hh"), "id\tmale\thaploid_hets\tn_snp\nA\t1\t1\t100\nB\t1\t2\t100\nFe\t0\t0\t100\n");
	const std::string snp_hh = "id\tpos\thaploid_hets\tn_males\nrs0\t100\t1\t2\nrs1\t200\t0\t2\nrs2\t300\t1\t2\nrs3\t400\t1\t2\nrs4\t500\t0\t2\n";
	EXPECT_EQ(report(".snp.hh").substr(0, snp_hh.size()), snp_hh);
	// Blanked heterozygotes count as missing, and a male counts one allele.
	EXPECT_EQ(report(".ind.mm"), "id\tmissing\nA\t2\nB\t2\nFe\t0\n");
	EXPECT_NE(report(".snp.mm").find("\nrs4\t500\tA\tC\t0\t3\t1\t3\t0\n"), std::string::npos);
	// Site 0 keeps the female heterozygote; site 1 was monomorphic and got filled.
	EXPECT_EQ(st.geno(0).substr(0, 3), ".00");
	EXPECT_EQ(st.geno(1).substr(0, 5), "00..2");
	EXPECT_EQ(st.geno(2).substr(0, 4), "1022");
}

TEST_F(genotype_checker_test, MissingnessLimitsAndForce) {
	// 2 of 20 is exactly 10%: above 5% but below the stop, for an individual and for a site.
	Study limit(20);
	grid(limit, { { 0, 0 }, { 0, 1 }, { 1, 5 }, { 2, 5 } });
	genotype_checker(limit.G, limit.R, false, false).checkMissingAndMAF(false);
	EXPECT_NE(d.read("run.log").find("\nChecking missingness and MAF...\n"
		"  * 1 individuals with high rates of missing data (>5%)\n"
		"  * 1 SNPs with high rates of missing data (>5%)\n"), std::string::npos);
	EXPECT_NE(report(".ind.mm").find("\ni0\t2\ni1\t1\n"), std::string::npos);

	// Above 10%: the stop names the count above 5%; the reports are written before it.
	Study inds(20);
	grid(inds, { { 0, 0 }, { 0, 1 }, { 0, 2 }, { 1, 3 }, { 1, 4 } });
	EXPECT_LOG_ERROR(genotype_checker(inds.G, inds.R, false, false).checkMissingAndMAF(false),
		"2 individuals with high rates of missing data \\(>10%\\)\\. These individuals should be removed\\. You can disable this error with --force \\(at your own risk\\)\\.");
	EXPECT_NE(report(".ind.mm").find("\ni0\t3\n"), std::string::npos);
	genotype_checker(inds.G, inds.R, false, true).checkMissingAndMAF(false);
	EXPECT_NE(d.read("run.log").find("  * 2 individuals with high rates of missing data (>5%)\n"), std::string::npos);

	Study half(20);
	std::vector < std::pair < int, int > > cells = { { 10, 1 }, { 11, 1 } };
	for (int i = 0 ; i < 10 ; i ++) cells.push_back({ i, 0 });
	grid(half, cells);
	EXPECT_LOG_ERROR(genotype_checker(half.G, half.R, false, false).checkMissingAndMAF(false),
		"2 SNPs with high rates of missing data \\(>10%\\)\\.  These sites should be removed\\. You can disable");
	genotype_checker(half.G, half.R, false, true).checkMissingAndMAF(false);
	EXPECT_NE(d.read("run.log").find("  * 2 SNPs with high rates of missing data (>5%)\n"), std::string::npos);
}

TEST_F(genotype_checker_test, FullyMissingStopsEvenWithForce) {
	Study site(20);
	std::vector < std::pair < int, int > > cells;
	for (int i = 0 ; i < 20 ; i ++) cells.push_back({ i, 3 });
	grid(site, cells);
	EXPECT_LOG_ERROR(genotype_checker(site.G, site.R, false, true).checkMissingAndMAF(false), "1 fully missing SNPs \\(=100%\\)");
	// From likelihoods it is only logged, and the site stays missing though it counts as monomorphic.
	genotype_checker(site.G, site.R, false, true).checkMissingAndMAF(true);
	EXPECT_NE(d.read("run.log").find("  * 1 fully missing SNPs (=100%)\n  * 1 monomorphic SNPs\n"), std::string::npos);
	EXPECT_EQ(site.geno(0)[3], '.');

	Study ind(20);
	cells.clear();
	for (int s = 0 ; s < 20 ; s ++) cells.push_back({ 7, s });
	grid(ind, cells);
	EXPECT_LOG_ERROR(genotype_checker(ind.G, ind.R, false, true).checkMissingAndMAF(false), "1 fully missing individuals \\(=100%\\)");

	// Nothing at all: empty reports and no stop.
	Study none(0);
	genotype_checker(none.G, none.R, false, false).checkMissingAndMAF(false);
	EXPECT_EQ(report(".ind.mm"), "id\tmissing\n");
	EXPECT_EQ(report(".snp.mm"), "id\tposition\tA\tB\tmissing\tcount_A_main\tcount_B_main\tcount_A_founder\tcount_B_founder\n");
}

TEST_F(genotype_checker_test, MonomorphicSitesAndSingletons) {
	for (bool likelihoods : { false, true }) {
		SCOPED_TRACE(likelihoods);
		LOG.close();
		ASSERT_TRUE(LOG.open(d.file("run")));
		Study st(5);
		st.add("a", "02110");
		st.add("b", "0.010");
		st.add("c", ".2000");
		st.link();
		genotype_checker(st.G, st.R, false, true).checkMissingAndMAF(likelihoods);
		std::string log = d.read("run.log");
		EXPECT_NE(log.find("  * 3 monomorphic SNPs\n"), std::string::npos) << log;
		EXPECT_NE(log.find("  * 1 singletons SNPs\n"), std::string::npos);
		EXPECT_EQ(log.find("  * 2 missing genotypes automatically imputed at monomorphic SNPs\n") != std::string::npos, !likelihoods);
		EXPECT_EQ(st.geno(1), likelihoods ? "0.010" : "02010");
		EXPECT_EQ(st.geno(2), likelihoods ? ".2000" : "02000");
	}

	// One heterozygote alone: one first and one second allele make a singleton.
	Study one(1);
	one.add("x", "1");
	one.link();
	genotype_checker(one.G, one.R, false, false).checkMissingAndMAF(false);
	EXPECT_NE(d.read("run.log").find("Checking missingness and MAF...\n  * 1 singletons SNPs\n"), std::string::npos);

	// With a panel a site is monomorphic only when it is so in both; panel counts are reported.
	Study panel(2);
	panel.add("a", "0.");
	panel.add("b", ".0");
	panel.add("c", "00");
	panel.link();
	panel.addRef("10", "00");
	genotype_checker(panel.G, panel.R, false, true).checkMissingAndMAF(false);
	EXPECT_EQ(panel.geno(0), "00");
	EXPECT_EQ(panel.geno(1), ".0");
	EXPECT_EQ(report(".snp.mm"), "id\tposition\tA\tB\tmissing\tcount_A_main\tcount_B_main\tcount_A_founder\tcount_B_founder"
		"\tcount_A_ref\tcount_B_ref\tcount_A_total\tcount_B_total\n"
		"rs0\t100\tA\tC\t1\t4\t0\t4\t0\t1\t1\t5\t1\nrs1\t200\tA\tC\t1\t4\t0\t4\t0\t2\t0\t6\t0\n");
}

TEST_F(genotype_checker_test, OrderSiblingsOfFounders) {
	Study st(1);
	st.add("F", "0");
	st.add("M", "0");
	st.add("C1", "0", "F", "M");
	st.add("C2", "0", "F", "M");
	st.link();
	genotype_checker C(st.G, st.R, false, false);
	EXPECT_LOG_ERROR(C.order(units), "  \\* 2 samples are included in several duos/trios, check list in .*/run\\.inc\\.me\n"
		"You can use the --duohmm flag to phase complex pedigrees\\.");
	EXPECT_EQ(report(".inc.me"), "id\nF\nM\n");

	// Without the links every individual is a unit of its own.
	C.resetPedigrees();
	C.order(units);
	EXPECT_EQ(show(units), "2 c0:0 f-1:-1:-1 m-1:-1:-1\n2 c1:1 f-1:-1:-1 m-1:-1:-1\n"
		"2 c2:2 f-1:-1:-1 m-1:-1:-1\n2 c3:3 f-1:-1:-1 m-1:-1:-1\n");
}

TEST_F(genotype_checker_test, OrderThreeGenerations) {
	Study st(1);
	st.add("GF", "0");
	st.add("GM", "0");
	st.add("P", "0", "GF", "GM");
	st.add("S", "0");
	st.add("C", "0", "P", "S");
	st.link();
	st.G.ind_order = { 10, 11, 12, 13, 14 };
	genotype_checker C(st.G, st.R, false, false);

	// The grandchild's record first: P is phased by his own record, as the child of his founders.
	C.het_count = { 0, 0, 5, 0, 1 };
	C.order(units);
	EXPECT_EQ(show(units), "4 c4:14 f2:12:0 m3:13:1\n4 c2:12 f0:10:1 m1:11:1\n");

	// The other way round, P would be in two records.
	C.het_count = { 0, 0, 1, 0, 5 };
	EXPECT_LOG_ERROR(C.order(units), "  \\* 1 samples are included in several duos/trios");
	EXPECT_EQ(report(".inc.me"), "id\nP\n");
}

TEST_F(genotype_checker_test, OrderDuosAndHaploidUnits) {
	for (bool chrX : { true, false }) {
		Study st(1, chrX);
		st.add("D", "0", "0", "0", true);
		st.add("K", "0", "D", "0", true);
		st.add("U", "0", "0", "0", true);
		st.add("V", "0");
		st.add("Q", "0");
		st.add("R", "0", "0", "Q");
		st.link();
		genotype_checker C(st.G, st.R, chrX, false);
		C.order(units);
		EXPECT_EQ(show(units), std::string("3 c1:1 f0:0:1 m-1:-1:-1\n3 c5:5 f-1:-1:-1 m4:4:1\n")
			+ (chrX ? "1" : "2") + " c2:2 f-1:-1:-1 m-1:-1:-1\n2 c3:3 f-1:-1:-1 m-1:-1:-1\n");
	}

	Study none(0);
	genotype_checker C(none.G, none.R, false, false);
	C.order(units);
	EXPECT_TRUE(units.empty());
}
