#include "cli/example_subset.h"

#include <algorithm>
#include <fstream>

using namespace testutils;

namespace exsubset {

const int LAST_BP = 1100000;

void writeSubset(const testutils::TempDir & d) {
	std::string ids;
	for (int i = 1 ; i <= 20 ; i ++) ids += "IND00" + std::string(i < 10 ? "0" : "") + std::to_string(i) + "\n";
	ids += "IND0056\nIND0057\nIND0058\n";
	d.write("subset", ids);
}

std::string subsetArgs() {
	return " --include-ind subset --input-to " + std::to_string(LAST_BP) + " --burn 1 --prune 1 --main 2 --states 20 ";
}

testutils::RunResult phaseSubset(const testutils::TempDir & d, const std::string & args, const std::string & stem) {
	RunResult r = runSorvane(args + subsetArgs() + "--output-max " + stem + " -L " + stem, d.path);
	EXPECT_TRUE(succeeded(r)) << args;
	return r;
}

std::map < std::string, std::map < int, int > > vcfGenotypes() {
	std::map < std::string, std::map < int, int > > G;
	std::vector < std::string > names;
	for (const std::vector < std::string > & t : table(E + "/cohort.vcf")) {
		if (t[0] == "#CHROM") names.assign(t.begin() + 9, t.end());
		if (t[0][0] == '#') continue;
		for (unsigned int i = 0 ; i < names.size() ; i ++) {
			const std::string & gt = t[9 + i];
			G[names[i]][std::stoi(t[1])] = (gt[0] == '.' || gt[2] == '.') ? -1 : (gt[0] - '0') + (gt[2] - '0');
		}
	}
	return G;
}

std::pair < int, int > confidenceFaults(const testutils::TempDir & d, const std::string & vcf) {
	std::vector < std::string > t = testutils::words(testutils::runOk("bcftools query -f '[%SAMPLE %GT %PP\\n]' " + vcf + " | awk '{ h = substr($2, 1, 1) != substr($2, 3, 1) ;"
		" r = h && seen[$1] ++ ; bad += r ? !($3 >= 0.5 && $3 <= 1) : $3 != \".\" ; n += r } END { print bad + 0, n + 0 }'", d.path));
	return { std::stoi(t[0]), std::stoi(t[1]) };
}

int checkPhased(const testutils::TempDir & d, const std::string & stem) {
	const Haplotypes H(d.file(stem));
	EXPECT_EQ(H.ids.size(), 23u) << stem;
	EXPECT_GT(H.alleles.size(), 100u) << stem;
	for (const auto & s : H.alleles) EXPECT_TRUE(s.first <= LAST_BP && s.second.size() == 46u) << stem << " at " << s.first;
	expectGenotypesKept(H);
	return H.alleles.size();
}

std::vector < std::vector < std::string > > table(const std::string & file) {
	std::ifstream f(file.c_str());
	std::vector < std::vector < std::string > > rows;
	std::string l;
	while (std::getline(f, l)) if (!l.empty()) rows.push_back(words(l));
	return rows;
}

Haplotypes::Haplotypes(const std::string & stem) {
	std::vector < std::vector < std::string > > S = table(stem + ".sample");
	for (unsigned int i = 2 ; i < S.size() ; i ++) ids.push_back(S[i][1]);
	for (const std::vector < std::string > & r : table(stem + ".haps")) {
		int pos = std::stoi(r[2]);
		sites[pos] = { r[3], r[4] };
		std::vector < int > & a = alleles[pos];
		for (unsigned int k = 5 ; k < r.size() ; k ++) a.push_back(r[k] == "1");
	}
}

int Haplotypes::index(const std::string & id) const {
	return std::find(ids.begin(), ids.end(), id) - ids.begin();
}

void expectGenotypesKept(const Haplotypes & out) {
	static const std::map < std::string, std::map < int, int > > G = vcfGenotypes();
	for (const auto & s : out.alleles) for (unsigned int i = 0 ; i < out.ids.size() ; i ++) {
		const int g = G.at(out.ids[i]).at(s.first);
		if (g >= 0) { ASSERT_EQ(s.second[2 * i] + s.second[2 * i + 1], g) << out.ids[i] << " at " << s.first; }
	}
}

double switchError(const Haplotypes & out, const Haplotypes & truth, const std::vector < std::string > & ids, long & pairs, const site_pairs * only) {
	long switches = 0;
	pairs = 0;
	for (const std::string & id : ids) {
		int o = out.index(id), t = truth.index(id), previous = -1, previous_bp = 0;
		const std::set < std::pair < int, int > > * listed = only ? &(*only).at(id) : nullptr;
		for (const auto & site : out.alleles) {
			const std::vector < int > & T = truth.alleles.at(site.first), & O = site.second;
			if (T[2 * t] == T[2 * t + 1] || O[2 * o] == O[2 * o + 1]) continue;
			int relation = T[2 * t] == O[2 * o];
			if (previous >= 0 && (!listed || listed->count({ previous_bp, site.first }))) {
				pairs ++;
				switches += relation != previous;
			}
			previous = relation;
			previous_bp = site.first;
		}
	}
	return pairs ? (double)switches / pairs : 1.0;
}

}
