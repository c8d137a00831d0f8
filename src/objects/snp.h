#ifndef _SNP_H
#define _SNP_H

#include <string>
#include <vector>

// One biallelic site, identified by its position and its two alleles (never by its name).
// source: 1 PED, 2 BED, 3 GEN, 4 GEN with an extra identifier column, 5 VCF,
// 6 reference panel, 7 phased haplotypes, 8 site list of a v2.0 graph file.
class snp {
public:
	std::string chr;
	std::string id;
	std::vector < std::string > properties;
	std::string a0;
	std::string a1;
	double cm;
	int bp;
	int idx;
	char source;
	// The reference allele is a1, although a0 comes first: plink files list the reference
	// allele second. VCF output writes a1 as REF.
	bool ref_a1;

	snp();
	snp(std::string chr, int bp, std::string a0, std::string a1, char source);
	snp(snp * other);

	bool isSNP();
	std::string get(bool b);
	int push(std::string a);
	int strand(std::string & x0, std::string & x1);
};

#endif
