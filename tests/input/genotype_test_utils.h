#ifndef _GENOTYPE_TEST_UTILS_H
#define _GENOTYPE_TEST_UTILS_H

#include "input/genotype_reader.h"
#include "test_utils.h"

#include <functional>
#include <map>

// Helpers of the reader tests: a store, log capture, fault tables and short text forms of sites and genotypes.
namespace genotest {

using testutils::TempDir;
using testutils::has;

struct Store {
	filter_reader F;
	genotype_reader G;
	explicit Store(bool chrX = false) : G(F, chrX) {}
};

// Runs `read` with the log in run.log of the folder, screen off, and returns what was logged; reports named after the log go to the folder too.
inline std::string logOf(const TempDir & d, const std::function < void () > & read) {
	LOG.muteC();
	LOG.unmuteL();
	LOG.open(d.file("run.log"));
	read();
	LOG.close();
	LOG.muteL();
	return d.read("run.log");
}

// Writes files of the folder by name and content, compressed as a name ends in .gz or .bz2.
inline void writeFiles(const TempDir & d, const std::map < std::string, std::string > & files) {
	for (const auto & f : files) testutils::writeCompressed(d.file(f.first), f.second);
}

// One bad input: a file of the folder and the message, a regular expression, the reader must stop with.
struct Fault { std::string file, content, message; };

// Each case writes the base files, then its own file over them, and expects `read` to stop. The base files are left in place.
inline void expectFaults(const TempDir & d, const std::map < std::string, std::string > & base, const std::vector < Fault > & faults, const std::function < void () > & read) {
	for (const Fault & f : faults) {
		SCOPED_TRACE(f.message);
		writeFiles(d, base);
		writeFiles(d, { { f.file, f.content } });
		EXPECT_LOG_ERROR(read(), f.message);
	}
	writeFiles(d, base);
}

// Genotypes, one blank-separated pair of allele bits per site, ".." for missing, "!!" for missing with set allele bits; individuals joined by " | ".
inline std::string allGenotypes(genotype_reader & G) {
	std::string s;
	for (size_t i = 0 ; i < G.ind_id.size() ; i ++) for (size_t l = 0 ; l < G.missing[i].size() ; l ++) {
		bool h0 = G.hap0[i][l], h1 = G.hap1[i][l];
		s += std::string(l ? " " : i ? " | " : "") + (G.missing[i][l] ? ((h0 || h1) ? "!!" : "..") : std::string(1, '0' + h0) + std::string(1, '0' + h1));
	}
	return s;
}

inline std::string siteList(snp_set * S) {
	std::string s;
	for (int l = 0 ; l < S->size() ; l ++) {
		snp * x = S->getByIndex(l);
		s += (l ? " " : "") + std::to_string(x->bp) + ":" + x->a0 + "/" + x->a1;
	}
	return s;
}

}

#endif
