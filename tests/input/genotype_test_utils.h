#ifndef _GENOTYPE_TEST_UTILS_H
#define _GENOTYPE_TEST_UTILS_H

#include "input/genotype_reader.h"
#include "test_utils.h"

#include <string>

namespace genotest {

// A store on its own filters. The store leaves its site list to its users; here the
// test is the user and frees it.
struct Store {
	filter_reader F;
	genotype_reader G;
	explicit Store(bool chrX = false) : G(F, chrX) {}
	~Store() { delete G.sites; }
};

// Sends the log to a file of the folder, screen off, so a test can read what was logged.
inline void logTo(const testutils::TempDir & d) {
	LOG.muteC();
	LOG.unmuteL();
	LOG.open(d.file("run.log"));
}

inline std::string loggedText(const testutils::TempDir & d) {
	LOG.close();
	LOG.muteL();
	return d.read("run.log");
}

// Genotypes of one individual, one blank-separated pair of allele bits per site, ".."
// for missing. A missing genotype with set allele bits shows as "!!". With `unordered`
// a heterozygous pair always shows as "01".
inline std::string genotypes(genotype_reader & G, int ind, bool unordered = false) {
	std::string s;
	for (size_t l = 0 ; l < G.missing[ind].size() ; l ++) {
		if (l) s += " ";
		bool h0 = G.hap0[ind][l], h1 = G.hap1[ind][l];
		if (G.missing[ind][l]) s += (h0 || h1) ? "!!" : "..";
		else if (unordered && h0 != h1) s += "01";
		else s += std::string(1, '0' + h0) + std::string(1, '0' + h1);
	}
	return s;
}

// Sites as "bp:a0/a1" joined by blanks.
inline std::string siteList(genotype_reader & G) {
	std::string s;
	for (int l = 0 ; l < G.sites->size() ; l ++) {
		snp * x = G.sites->getByIndex(l);
		if (l) s += " ";
		s += std::to_string(x->bp) + ":" + x->a0 + "/" + x->a1;
	}
	return s;
}

}

#endif
