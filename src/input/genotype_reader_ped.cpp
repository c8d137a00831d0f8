#include "input/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

// MAP file: chromosome, identifier, genetic position (unused), physical position; BIM files
// add the two alleles. The alleles of a MAP site are unknown until the PED file is read.
void genotype_reader::readSiteList(std::string file, bool bim, std::vector < bool > & mask) {
	LOG.println("\nReading site list in [" + file + "]");
	reading = file;
	ifile fd;
	openInput(fd, file);
	std::string line;
	std::vector < std::string > tokens;
	const int n_expected = bim ? 6 : 4;
	int n_line = 0, n_excluded = 0;
	while (getline(fd, line)) {
		n_line ++;
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields != n_expected) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields expected=" + sutils::int2str(n_expected));
		int pos = sutils::str2bp(tokens[3], file, n_line);
		snp * s = bim ? putSnp(tokens[0], pos, tokens[4], tokens[5], 2) : putSnp(tokens[0], pos, "", "", 1);
		if (s) s->id = tokens[1];
		else n_excluded ++;
		mask.push_back(s != NULL);
	}
	fd.close();
	sites->indexing();
	printSiteCounts(file, n_excluded, "sites");
}

void genotype_reader::readGenotypePed(std::string ped, std::string map, std::string missing_code) {
	sample_header1 = "ID_1 ID_2 missing father mother sex plink_pheno";
	sample_header2 = "0 0 0 D D D B";
	std::vector < bool > site_mask;
	readSiteList(map, false, site_mask);
	int M = site_mask.size();

	LOG.println("\nReading sample list and genotypes in [" + ped + "] where missing-code = [" + missing_code + "]");
	ifile fd;
	openInput(fd, ped);
	std::string line;
	std::vector < std::string > tokens;
	std::vector < std::string > fathers, mothers;
	int n_line = 0, n_excluded = 0;
	// The printed expectation counts included sites only, while the test uses all of them.
	std::string expected = sutils::int2str(2 * sites->size() + 6);
	while (getline(fd, line)) {
		n_line ++;
		// Only the first two fields are split off until the individual is known to be kept.
		int n_fields = sutils::tokenize(line, tokens, 2);
		if (n_fields < 2) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " expected=" + expected);
		if (!putInd(tokens[1])) {
			n_excluded ++;
			continue;
		}
		n_fields = sutils::tokenize(line, tokens);
		if (n_fields != 2 * M + 6) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " expected=" + expected);
		putPlinkFields(tokens, fathers, mothers);

		int ind = ind_id.size() - 1;
		for (int j = 0, site = 0 ; j < M ; j ++) {
			if (!site_mask[j]) continue;
			snp * s = sites->getByIndex(site ++);
			std::string & first = tokens[6 + 2 * j];
			std::string & second = tokens[7 + 2 * j];
			int r0 = 0, r1 = 0;
			if (first != missing_code) {
				r0 = s->push(first);
				if (r0 < 0) LOG.error("Non biallelic site pos=" + sutils::int2str(s->bp) + " a=" + first);
			}
			if (second == missing_code) {
				pushGenotype(ind, false, false, true);
				continue;
			}
			r1 = s->push(second);
			if (r1 < 0) LOG.error("Non biallelic site pos=" + sutils::int2str(s->bp) + " a=" + second);
			if (first == missing_code) pushGenotype(ind, false, false, true);
			else pushGenotype(ind, r0 != 0, r1 != 0, false);
		}
	}
	fd.close();
	printSampleCounts(n_excluded, true);
	indexingPedigrees(fathers, mothers);
	recodePlinkPhenotypes();
	fixPed();
	markMajorAsReference();
}

// A PED file does not tell which allele is the reference; as plink2 does, it is taken to
// be the more frequent one, the first seen on a tie.
void genotype_reader::markMajorAsReference() {
	for (int s = 0 ; s < sites->size() ; s ++) {
		int balance = 0;
		for (int i = 0 ; i < (int)ind_id.size() ; i ++) if (!missing[i][s]) balance += hap0[i][s] + hap1[i][s] - 1;
		sites->getByIndex(s)->ref_a1 = balance > 0;
	}
}
