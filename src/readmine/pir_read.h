#ifndef _PIR_READ_H
#define _PIR_READ_H

#include <string>
#include <vector>

// The bases of one read, or of the two mates of a pair, at heterozygous sites of its
// sample: site index, observed base and Phred quality, in increasing site order.
class pir_read {
public:
	std::vector < int > site;
	std::vector < char > base;
	std::vector < int > quality;

	pir_read();

	// A site already seen (the mates overlap there) keeps the base of higher quality, the
	// first one at equal quality.
	void add(int s, char b, int q);
	void merge(const pir_read & other);
	int size() const;
	// The triples "site base quality", blank separated.
	std::string toString() const;
};

#endif
