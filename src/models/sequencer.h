#ifndef _SEQUENCER_H
#define _SEQUENCER_H

#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "objects/sread.h"
#include "utils/ifile.h"

#include <string>
#include <utility>
#include <vector>

// Phase informative reads (PIRs) of one sample, and what they tell about its phase.
//
// A PIR file is plain text in two sections. The map: a line "MAP M", then M lines
// "position allele0 allele1". The records, one per sample: a line "id R", then R lines, one
// read each, of triples "map-index base Phred-quality". One sequencer is made per record.
class sequencer {
public:
	snp_set * snps;
	// Map index of the PIR file -> site index in snps, -1 for sites not in the data.
	std::vector < int > * mapping;
	// The kept reads of the current sample: (site, probability that the read carries allele 1).
	std::vector < std::vector < std::pair < int, float > > > reads;
	// Per site, the reads that cover it.
	std::vector < std::vector < int > > pileup;
	// The line where the current record starts, for the messages.
	int record_line;

	sequencer(snp_set * snps, std::vector < int > * mapping);

	// The map section from the top of the file into `mapping`; `line` counts the lines read.
	static void readMap(ifile & fd, int & line, snp_set * snps, std::vector < int > & mapping, int & n_found, int & n_missed);

	// The next record of the file; an empty id at the end of the file. Only reads with at
	// least two usable triples are kept.
	void readPIRs(ifile & fd, int & line, std::string & id, int & n_read, int & n_kept);

	// The pileup over the sites, and the number of heterozygous sites of the sample.
	void pileupPIRs(genotype_graph * G, int & n_het, int & n_covered);
	void pileupPIRs(chaplotype & h0, chaplotype & h1, int & n_het, int & n_covered);

	// The heterozygous sites of the sample that a kept read joins to another of them,
	// ascending: their phase is the reads'.
	void joinedSites(genotype_graph * G, std::vector < int > & sites) const;

	// The transitions of the inner groups of an unrelated graph weighed by the reads.
	void processPIRs(genotype_graph * G, int & n_group, int & n_used);
	// The sites with status -1 placed onto h0 or h1, anchored by the scaffold heterozygotes
	// (status -3); status takes the probability of the placement chosen.
	void processPIRs(chaplotype & h0, chaplotype & h1, int & n_seen, int & n_phased, std::vector < float > & status);

private:
	// At most this many reads weigh one group of a graph.
	static const unsigned int max_reads = 15;

	void pileupReads(int n_sites);
	// One row a read of `ids` over the sites of `kept` (ascending), for the reads with at
	// least two of them, at most `limit` rows.
	void makeRows(const std::vector < int > & ids, const std::vector < int > & kept, unsigned int limit, std::vector < sread > & rows) const;
};

#endif
