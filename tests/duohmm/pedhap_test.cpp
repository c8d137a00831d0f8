#include "duohmm/pedhap.h"
#include "test_utils.h"

#include <sstream>

namespace {

// Samples over K sites 100 kb apart as a HAPS/SAMPLE pair, paternal haplotype first; one
// crossover at site `cross` per meiosis; an absent parent's haplotype is drawn.
struct family_data {
	int K = 400;
	std::vector < std::string > ids, fathers, mothers;
	std::vector < std::vector < int > > truth;	// two haplotypes a sample
	unsigned int seed = 11;

	int bit() { return ((seed = seed * 1103515245u + 12345u) >> 16) & 1; }
	int find(const std::string & id) const { return std::find(ids.begin(), ids.end(), id) - ids.begin(); }
	void child(const std::string & id, const std::string & dad, const std::string & mum, int cross) {
		const int n = ids.size();
		ids.push_back(id);
		fathers.push_back(find(dad) < n ? dad : "0");
		mothers.push_back(mum);
		for (int h = 0 ; h < 2 ; h ++) {
			const int p = find(h ? mum : dad), first = dad + mum == "00" ? 0 : bit();
			truth.push_back(std::vector < int > (K));
			for (int l = 0 ; l < K ; l ++) truth.back()[l] = p < n ? truth[2 * p + ((l < cross) ? first : 1 - first)][l] : bit();
		}
	}
	void write(const testutils::TempDir & d, const std::vector < std::vector < int > > & haps) const {
		std::string s = "ID_1 ID_2 missing ID_father ID_mother sex\n0 0 0 D D D\n", h;
		for (unsigned int i = 0 ; i < ids.size() ; i ++)
			s += "F " + ids[i] + " 0 " + fathers[i] + " " + mothers[i] + (std::count(fathers.begin(), fathers.end(), ids[i]) || ids[i] == "X" ? " 1\n" : " 2\n");
		for (int l = 0 ; l < K ; l ++) {
			h += "1 s" + std::to_string(l) + " " + std::to_string(1000000 + 100000 * l) + " A C";
			for (const std::vector < int > & x : haps) h += " " + std::to_string(x[l]);
			h += "\n";
		}
		d.write("h.sample", s);
		d.write("h.haps", h);
	}
};

// Switches of sample i's phase against the truth over its heterozygous sites.
int switches(const family_data & F, const Haplotypes & H, int i) {
	int n = 0, previous = -1;
	for (int l = 0 ; l < F.K ; l ++) if (F.truth[2 * i][l] != F.truth[2 * i + 1][l]) {
		const int relation = H.haps[2 * i].get(l) == F.truth[2 * i][l];
		n += previous >= 0 && relation != previous, previous = relation;
	}
	return n;
}

}

// GF, GM -> F; F, M -> K1, K2, K3; P -> Q1, Q2, Q3 by an absent father; two switch errors a
// sample. Corrected: children exact, missing alleles too; parents of several without errors.
TEST(pedhap, CorrectsFamilies) {
	family_data F;
	for (const char * id : { "GF", "GM", "M", "P" }) F.child(id, "0", "0", 0);
	F.child("F", "GF", "GM", 90);
	for (int k : { 1, 2, 3 }) F.child("K" + std::to_string(k), "F", "M", k < 3 ? 50 + 80 * k : 330);
	for (const char * id : { "Q1", "Q2", "Q3" }) F.child(id, "X", "P", 60 + 100 * (id[1] - '0'));
	std::vector < std::vector < int > > phased = F.truth;
	for (unsigned int i = 0 ; i < F.ids.size() ; i ++) for (int l = 0 ; l < F.K ; l ++)
		if ((l >= 100 + 7 * (int)i && l < 250 + 11 * (int)i) != (F.fathers[i] != "0" || F.mothers[i] != "0")) std::swap(phased[2 * i][l], phased[2 * i + 1][l]);
	std::vector < std::pair < int, int > > missing;
	for (const char * id : { "K1", "K2", "K3" }) for (int k = F.find(id), l = 5 ; l < F.K ; l += 37) {
		missing.push_back({ k, l });
		phased[2 * k][l] = phased[2 * k + 1][l] = 0;
	}
	testutils::TempDir d;
	F.write(d, phased);
	testing::internal::CaptureStdout();
	pedhap P(d.file("h"), "", 20);
	testing::internal::GetCapturedStdout();
	for (const std::pair < int, int > & x : missing) P.haps->_missing[x.first].set(x.second, true);
	for (unsigned int i = 0 ; i < F.ids.size() ; i ++) EXPECT_GE(switches(F, *P.haps, i), 2) << F.ids[i];
	P.correct();
	for (unsigned int i = 0 ; i < F.ids.size() ; i ++) {
		if (F.ids[i] == "GF" || F.ids[i] == "GM") continue;	// one child each: left as phased
		EXPECT_EQ(switches(F, *P.haps, i), 0) << F.ids[i];
		int wrong = 0;
		for (int l = 0 ; l < F.K && (F.fathers[i] != "0" || F.mothers[i] != "0") ; l ++) wrong += P.haps->haps[2 * i].get(l) != F.truth[2 * i][l];
		EXPECT_EQ(wrong, 0) << F.ids[i];
	}

	// A row per meiosis, child first, counting about the one crossover at parent heterozygotes.
	P.recombinationMap(d.file("rec"));
	std::istringstream rec (d.read("rec"));
	std::string line, child, parent;
	std::getline(rec, line);
	EXPECT_EQ(line.substr(0, 21), "PARENT CHILD 1000000 ");
	int rows = 0;
	double total = 0;
	while (rec >> child >> parent) {
		const chaplotype * h = P.haps->getHap(parent);
		double crossovers = 0, value;
		for (int l = 0 ; l < F.K && rec >> value ; l ++) if (h[0].get(l) != h[1].get(l)) crossovers += value;
		EXPECT_TRUE(crossovers > 0.3 && crossovers < 1.5) << child << " " << parent << " " << crossovers;
		total += crossovers;
		rows ++;
	}
	EXPECT_EQ(rows, 11);
	EXPECT_NEAR(total / rows, 1.0, 0.35);
}
