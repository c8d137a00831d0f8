#include "cli/example_subset.h"

#include <fstream>
#include <map>

using testutils::lines;
using testutils::words;

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

std::map < std::string, std::map < int, int > > vcfGenotypes() {
	std::ifstream f(std::string(SORVANE_EXAMPLE_DATA) + "/cohort.vcf");
	std::map < std::string, std::map < int, int > > G;
	std::vector < std::string > names;
	std::string l;
	while (std::getline(f, l)) {
		if (l.compare(0, 2, "##") == 0) continue;
		std::vector < std::string > t = words(l);
		if (t[0] == "#CHROM") { names.assign(t.begin() + 9, t.end()); continue; }
		int pos = std::stoi(t[1]);
		for (unsigned int i = 0 ; i < names.size() ; i ++) {
			const std::string & gt = t[9 + i];
			G[names[i]][pos] = (gt[0] == '.' || gt[2] == '.') ? -1 : (gt[0] - '0') + (gt[2] - '0');
		}
	}
	return G;
}

int checkPhased(const testutils::TempDir & d, const std::string & stem) {
	static const std::map < std::string, std::map < int, int > > G = vcfGenotypes();
	std::vector < std::string > S = lines(d.read(stem + ".sample"));
	std::vector < std::string > H = lines(d.read(stem + ".haps"));
	EXPECT_EQ(S.size(), 25u) << stem;
	std::vector < std::string > ids;
	for (unsigned int i = 2 ; i < S.size() ; i ++) ids.push_back(words(S[i])[1]);
	EXPECT_GT(H.size(), 100u) << stem;
	int checked = 0, previous = 0;
	for (const std::string & l : H) {
		std::vector < std::string > t = words(l);
		EXPECT_EQ(t.size(), 5 + 2 * ids.size()) << stem;
		if (t.size() != 5 + 2 * ids.size()) return 0;
		int pos = std::stoi(t[2]);
		EXPECT_GT(pos, previous);
		EXPECT_LE(pos, LAST_BP);
		previous = pos;
		for (unsigned int i = 0 ; i < ids.size() ; i ++) {
			int a = std::stoi(t[5 + 2 * i]), b = std::stoi(t[6 + 2 * i]);
			EXPECT_TRUE((a == 0 || a == 1) && (b == 0 || b == 1));
			int g = G.at(ids[i]).at(pos);
			if (g < 0) continue;
			EXPECT_EQ(a + b, g) << stem << " " << ids[i] << " at " << pos;
			checked ++;
		}
	}
	EXPECT_GT(checked, 2000) << stem;
	return H.size();
}

}
