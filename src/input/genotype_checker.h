#ifndef _GENOTYPE_CHECKER_H
#define _GENOTYPE_CHECKER_H

#include "input/genotype_reader.h"
#include "input/reference_reader.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Ascending on the second member, the heterozygous count: the build records of the least
// informative children come first.
bool myHetCountComparison(const std::pair < int, int > & a, const std::pair < int, int > & b);

// Quality checks run between reading and building: Mendel errors, haploid heterozygotes,
// missingness and allele counts, with their reports. Repairs the genotype store where it
// can, stops on data too bad to phase, and turns the pedigree into build records.
class genotype_checker {
public:
	genotype_reader & reader;
	reference_reader & reference;
	bool chrX;
	bool force;
	// Per individual: sites at which his genotype settles which allele a parent transmitted.
	std::vector < int > het_count;

	genotype_checker(genotype_reader & reader, reference_reader & reference, bool chrX, bool force);

	void resetPedigrees();
	void wipe(int ind, int site);

	void checkGenotypeData();
	void checkLikelihoodData();

	void checkMendelErrors();
	void wipeMendelErrors();
	void checkHaploidHeterozygous();
	void checkMissingAndMAF(bool likelihoods);

	void order(std::vector < std::map < std::string, int > > & out);

private:
	// Allele counts per site: 0 (A) and 1 (B) alleles of the study, of its founders, of the panel.
	struct allele_counts {
		std::vector < int > count_A_main, count_B_main;
		std::vector < int > count_A_founder, count_B_founder;
		std::vector < int > count_A_ref, count_B_ref;
		std::vector < int > count_A_total, count_B_total;
	};

	void walkMendelErrors(bool wipe_errors);
	void reportMendelErrors(const std::vector < std::vector < int > > & mendel, const std::vector < int > & site_errors, const std::vector < int > & site_total);

	void countMissingAndAlleles(std::vector < int > & ind_missing, std::vector < int > & snp_missing, allele_counts & counts);
	void writeMissingReports(const std::vector < int > & ind_missing, const std::vector < int > & snp_missing, const allele_counts & counts);
	void stopOnMissing(const std::vector < int > & ind_missing, const std::vector < int > & snp_missing, bool likelihoods);
	void fillMonomorphic(const allele_counts & counts, bool likelihoods);

	std::map < std::string, int > unitRecord(int type, int child, int father, int mother);
	void setMain(std::map < std::string, int > & unit, std::string parent, int ind, std::vector < bool > & done);
	void markSeen(int ind, const std::vector < bool > & done, std::set < std::string > & multi);
	void stopOnMultipleInclusions(const std::set < std::string > & multi);
};

#endif
