#include "cli/example_subset.h"

#include <algorithm>
#include <tuple>

using namespace testutils;
using namespace exsubset;

namespace {

// The example's samples in file order, their parents ("0": none), and those in no duo or trio.
struct Cohort {
	std::vector < std::string > ids, unrelated;
	std::map < std::string, std::pair < std::string, std::string > > parents;

	Cohort() {
		std::set < std::string > related;
		for (const std::vector < std::string > & r : table(E + "/cohort.fam")) {
			ids.push_back(r[1]);
			parents[r[1]] = { r[2], r[3] };
			if (r[2] != "0" || r[3] != "0") related.insert({ r[1], r[2], r[3] });
		}
		for (const std::string & id : ids) if (!related.count(id)) unrelated.push_back(id);
	}
};

}

// Low switch error of each model and selection; from PED files, the father's allele first.
TEST(cli_phase_accuracy, ModelsAndSelections) {
	TempDir d;
	const Cohort cohort;
	const Haplotypes truth(E + "/truth");
	const std::string vcf = "--input-vcf " + E + "/cohort.vcf.gz" + PANEL + "--thread 1", short_run = " --burn 2 --prune 2 --main 4";
	const std::vector < std::tuple < std::string, std::string, double > > runs = {
		{ "ped", "--input-ped " + E + "/cohort --thread 2", 0.03 }, { "auto", vcf + short_run, 0.03 }, { "hamming", vcf + short_run + " --selection hamming", 0.03 },
		{ "graph", "--input-ped " + E + "/cohort --thread 1 --model-version1 --burn 3 --prune 4 --main 8", 0.03 },
		{ "panel", vcf + " --no-mcmc", 0.04 } };
	std::map < std::string, double > rate;
	for (const auto & [name, args, bound] : runs) {
		ASSERT_TRUE(succeeded(runSorvane(args + " --input-map " + E + "/genetic_map.txt --seed 1 --output-max " + name + " -L " + name, d.path))) << name;
		const Haplotypes out(d.file(name));
		ASSERT_EQ(out.ids, cohort.ids);
		expectGenotypesKept(out);
		long pairs;
		rate[name] = switchError(out, truth, cohort.unrelated, pairs);
		EXPECT_GT(pairs, 20000);
		EXPECT_LT(rate[name], bound) << name;
	}
	EXPECT_LT(rate["auto"], rate["hamming"] * 1.1) << rate["auto"] << " " << rate["hamming"];
	const std::map < std::string, std::map < int, int > > G = vcfGenotypes();
	const Haplotypes out(d.file("ped"));
	const std::vector < std::string > & ids = cohort.ids;
	ASSERT_EQ(out.alleles.size(), G.begin()->second.size());
	int n_trio_sites = 0;
	for (const auto & s : out.alleles) for (unsigned int c = 0 ; c < ids.size() ; c ++) {
		const std::pair < std::string, std::string > & p = cohort.parents.at(ids[c]);
		if (p.first == "0" || p.second == "0") continue;
		const std::vector < int > & h = s.second;
		const int f = out.index(p.first), m = out.index(p.second), gf = G.at(p.first).at(s.first), gm = G.at(p.second).at(s.first), gc = G.at(ids[c]).at(s.first);
		bool consistent = false;
		for (int a : { gf > 0, gf > 1 }) for (int b : { gm > 0, gm > 1 }) consistent = consistent || a + b == gc;
		if (gf < 0 || gm < 0 || gc < 0 || !consistent) continue;
		EXPECT_TRUE((h[2 * c] == h[2 * f] || h[2 * c] == h[2 * f + 1]) && (h[2 * c + 1] == h[2 * m] || h[2 * c + 1] == h[2 * m + 1])) << ids[c] << " at " << s.first;
		n_trio_sites ++;
	}
	EXPECT_GT(n_trio_sites, 5000);
}

// With --duohmm the transmitted haplotypes become nearly exact; one crossover row per meiosis.
TEST(cli_phase_accuracy, DuohmmFamilies) {
	TempDir d;
	std::vector < std::vector < std::string > > related = table(E + "/families_truth.sample");
	related.erase(related.begin(), related.begin() + 2);
	const std::string args = "--input-bed " + E + "/families --input-map " + E + "/genetic_map.txt --thread 1 --seed 1 ";
	ASSERT_TRUE(succeeded(runSorvane(args + "--noped --output-max pop -L pop", d.path)));
	ASSERT_TRUE(succeeded(runSorvane(args + "--duohmm --output-max ped --output-duohmm-recombination rec.txt -L ped", d.path)));
	const Haplotypes truth(E + "/families_truth"), pop(d.file("pop")), ped(d.file("ped"));
	std::vector < std::string > children, parents = { "IND0201" };	// a child and a father
	int meioses = 0;
	for (const std::vector < std::string > & s : related) {
		const int n = (s[3] != "0") + (s[4] != "0");
		(n ? children : parents).push_back(s[1]);
		meioses += n;
	}
	for (const Haplotypes * out : { &pop, &ped }) {
		int wrong = 0, total = 0;
		for (const std::vector < std::string > & s : related) if (s[3] != "0" || s[4] != "0") {
			const int h = s[3] != "0" ? 0 : 1, o = out->index(s[1]), t = truth.index(s[1]);
			for (const auto & x : out->alleles) {
				total ++;
				wrong += x.second[2 * o + h] != truth.alleles.at(x.first)[2 * t + h];
			}
		}
		if (out == &ped) EXPECT_LT(wrong, total / 1000) << total;
		else EXPECT_GT(wrong, total / 50) << total;
	}
	long pairs;
	for (const std::vector < std::string > * ids : { &children, &parents })
		EXPECT_LT(switchError(ped, truth, *ids, pairs), switchError(pop, truth, *ids, pairs) + 0.002) << (*ids)[0];
	const std::vector < std::vector < std::string > > rec = table(d.file("rec.txt"));
	ASSERT_EQ((int)rec.size(), 1 + meioses);
	for (unsigned int i = 0 ; i < rec.size() ; i ++) {
		ASSERT_EQ(rec[i].size(), 2 + ped.alleles.size());
		for (unsigned int l = 2 ; i > 0 && l < rec[i].size() ; l ++) EXPECT_TRUE(std::stod(rec[i][l]) >= 0 && std::stod(rec[i][l]) <= 1);
	}
}

// A child's 0/0 turned into 1/1 between heterozygous parents is reported with a probability near 1.
TEST(cli_phase_accuracy, DuohmmReportsCorruptedGenotype) {
	TempDir d;
	std::vector < std::vector < std::string > > fam = table(E + "/families.fam");
	Haplotypes truth(E + "/families_truth");
	const std::string child = "IND0203", father = "IND0201", mother = "IND0017";
	std::string keep;
	for (unsigned int i = 0 ; i < fam.size() ; i ++) if (i < 40 || fam[i][0] == "PED01") keep += fam[i][1] + "\n";
	d.write("keep", keep);
	int site = -1, n = fam.size(), c = std::find_if(fam.begin(), fam.end(), [&](const std::vector < std::string > & r) { return r[1] == child; }) - fam.begin();
	int t = truth.index(child), f = truth.index(father), m = truth.index(mother), k = 0;
	std::string bed = testutils::readFile(E + "/families.bed");
	for (const auto & s : truth.alleles) {
		const std::vector < int > & a = s.second;
		unsigned char & byte = (unsigned char &)bed[3 + (size_t)k ++ * ((n + 3) / 4) + c / 4];
		if (s.first < 1100000 || a[2 * t] + a[2 * t + 1] || a[2 * f] == a[2 * f + 1] || a[2 * m] == a[2 * m + 1] || ((byte >> (2 * (c % 4))) & 3) != 0) continue;
		byte |= 3 << (2 * (c % 4));
		site = s.first;
		break;
	}
	ASSERT_GT(site, 0);
	d.write("fam.bed", bed);
	runOk("cp " + E + "/families.bim fam.bim && cp " + E + "/families.fam fam.fam", d.path);
	ASSERT_TRUE(succeeded(runSorvane("--input-bed fam --input-map " + E + "/genetic_map.txt --include-ind keep --input-to 1200000 --thread 1 --seed 1 --duohmm --output-max out --output-duohmm-errors err.txt -L log", d.path)));
	std::vector < std::vector < std::string > > rows = table(d.file("err.txt"));
	ASSERT_FALSE(rows.empty());
	EXPECT_EQ(rows[0], (std::vector < std::string > { "ID", "father", "mother", "RSID1", "POS", "PROB_ERROR" }));
	bool found = false;
	for (const std::vector < std::string > & row : rows) if (row[0] == child && row[4] == std::to_string(site)) {
		EXPECT_EQ(row[1] + " " + row[2] + " " + row[3], father + " " + mother + " 20:" + row[4]);
		found = std::stod(row[5]) > 0.9;
	}
	EXPECT_TRUE(found) << site << "\n" << d.read("err.txt");
}
