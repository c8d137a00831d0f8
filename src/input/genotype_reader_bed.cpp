#include "input/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <cstdlib>

// FAM file: family, individual, father, mother, sex, phenotype.
void genotype_reader::readSampleListFam(std::string fam, std::vector < bool > & mask) {
	LOG.println("\nReading sample list in [" + fam + "]");
	ifile fd;
	openInput(fd, fam);
	std::string line;
	std::vector < std::string > tokens;
	std::vector < std::string > fathers, mothers;
	int n_line = 0, n_excluded = 0;
	while (getline(fd, line)) {
		n_line ++;
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields != 6) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields expected=6");
		bool kept = putInd(tokens[1]);
		mask.push_back(kept);
		if (kept) putPlinkFields(tokens, fathers, mothers);
		else n_excluded ++;
	}
	fd.close();
	printSampleCounts(n_excluded, true);
	indexingPedigrees(fathers, mothers);
	recodePlinkPhenotypes();
}

// BED file: two magic bytes, a mode byte, then records of 2-bit genotypes, four to a byte
// from the low bits up, each record padded to a whole byte. Per genotype the low bit L
// and the high bit U give hap0 = L, hap1 = U, except 01 (L set alone), which is missing.
void genotype_reader::readGenotypesBed(std::string bed, std::vector < bool > & site_mask, std::vector < bool > & ind_mask) {
	LOG.println("\nReading genotypes in [" + bed + "]");
	ifile fd;
	openInput(fd, bed, true);
	unsigned char header[3];
	if (!fd.read((char *)header, 3) || header[0] != 0x6C || header[1] != 0x1B) LOG.error("Binary file format unsupported");
	bool snp_major = header[2] & 1;
	LOG.println(snp_major ? "  * Plink binary file SNP-major mode" : "  * Plink binary file individual-major mode");

	int n_outer = snp_major ? site_mask.size() : ind_mask.size();
	int n_inner = snp_major ? ind_mask.size() : site_mask.size();
	std::vector < bool > & outer_mask = snp_major ? site_mask : ind_mask;
	std::vector < bool > & inner_mask = snp_major ? ind_mask : site_mask;
	std::vector < unsigned char > record((n_inner + 3) / 4);
	for (int o = 0, o_kept = 0 ; o < n_outer ; o ++) {
		if (!fd.read((char *)record.data(), record.size())) LOG.error(snp_major ? "Binary file SM corrupted" : "Binary file IM corrupted");
		if (!outer_mask[o]) continue;
		for (int i = 0, i_kept = 0 ; i < n_inner ; i ++) {
			if (!inner_mask[i]) continue;
			int code = (record[i >> 2] >> (2 * (i & 3))) & 3;
			bool L = code & 1, U = code & 2;
			if (snp_major) stageGenotype(i_kept, L && U, U, L && !U);
			else pushGenotype(o_kept, L && U, U, L && !U);
			i_kept ++;
		}
		if (snp_major) endStagedSite();
		o_kept ++;
	}
	flushStaged();
	char extra;
	if (fd.read(&extra, 1)) LOG.error("Binary file corrupted : terminating bits");
	fd.close();
}

void genotype_reader::readGenotypeBed(std::string bed, std::string bim, std::string fam) {
	sample_header1 = "ID_1 ID_2 missing father mother sex plink_pheno";
	sample_header2 = "0 0 0 D D D B";
	std::vector < bool > site_mask, ind_mask;
	readSiteList(bim, true, site_mask);
	readSampleListFam(fam, ind_mask);
	readGenotypesBed(bed, site_mask, ind_mask);
	fixBed();
	// The BIM file gives the reference allele second, as plink2 reads and writes it.
	for (int s = 0 ; s < sites->size() ; s ++) sites->getByIndex(s)->ref_a1 = true;
}

// Plink writes the allele "0" at a site where only one allele was seen.
void genotype_reader::fixBed() {
	int N = ind_id.size();
	for (int s = 0 ; s < sites->size() ; s ++) {
		snp * site = sites->getByIndex(s);
		if (site->a0 == "0") {
			int n_other = 0;
			for (int i = 0 ; i < N ; i ++) if (!missing[i][s] && !(hap0[i][s] && hap1[i][s])) n_other ++;
			if (n_other == 0) {
				for (int i = 0 ; i < N ; i ++) if (!missing[i][s]) hap0[i][s] = hap1[i][s] = false;
				site->a0 = site->a1;
			}
		}
		if (site->a1 == "0") {
			int n_other = 0;
			for (int i = 0 ; i < N ; i ++) if (!missing[i][s] && (hap0[i][s] || hap1[i][s])) n_other ++;
			if (n_other == 0) site->a1 = site->a0;
		}
	}
}
