#ifndef _BAM_SCANNER_H
#define _BAM_SCANNER_H

#include "readmine/het_sites.h"
#include "readmine/pir_read.h"

#include <htslib/sam.h>
#include <map>
#include <string>
#include <vector>

// Reads one coordinate-sorted and indexed BAM, CRAM or SAM file of one sample over the span
// of the sites, and collects its phase informative reads: reads, or pairs of mates joined by
// name, with bases matching an allele at two heterozygous sites of the sample or more.
// Unmapped, secondary, supplementary, duplicate and QC-failed reads are left out, and so are
// reads below the minimum mapping quality and bases below the minimum base quality.
class bam_scanner {
public:
	het_sites & H;
	int min_baseq;
	// FASTA file of the reference, which CRAM files need; empty when not given.
	std::string reference;
	long n_used;
	long n_pir;

	bam_scanner(het_sites & H, int min_baseq, std::string reference);

	// Ends the run, naming the file, if it cannot be scanned.
	void check(std::string file);
	// Adds the sample's phase informative reads of the file to pirs.
	void scan(std::string file, int sample, int min_mapq, std::vector < pir_read > & pirs);

private:
	// Reads of pairs whose mate comes later in the file, by name.
	std::map < std::string, pir_read > pending;

	// Opens the file and its index, and iterates over the sites' range of the chromosome.
	hts_itr_t * open(const std::string & file, htsFile * & fp, sam_hdr_t * & header, hts_idx_t * & index);
	[[noreturn]] void unreadable(htsFile * fp, const std::string & file);
	void observe(bam1_t * b, int sample, pir_read & read);
	void finish(pir_read & read, std::vector < pir_read > & pirs);
};

#endif
