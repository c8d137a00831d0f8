#ifndef _SREAD_H
#define _SREAD_H

#include <string>
#include <vector>

// One sequencing read (or read pair) over a list of sites: per site, the probability that
// the read carries allele 1 there, -1 where it does not cover the site.
class sread {
public:
	std::string name;
	std::vector < float > probs;
	unsigned char paired;
	unsigned char read1;
	unsigned char read2;

	sread(std::string name, int n);

	// Sites that the read covers.
	int countHets() const;
	// Chance of the read given the alleles of one haplotype over the same sites.
	double computeProb(const std::vector < bool > & hap) const;
	void verbose() const;
	std::string toString() const;
};

#endif
