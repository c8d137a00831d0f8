#ifndef _GENOTYPE_READER_H
#define _GENOTYPE_READER_H

#include "input/filter_reader.h"
#include "objects/snp_set.h"
#include "utils/ifile.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

// The unphased study data: kept individuals with their pedigree links and sex, kept sites,
// and per individual three bit vectors over the sites. (hap0, hap1, missing) is
// (0,0,0) homozygous first allele, (0,1,0) or (1,0,0) heterozygous, (1,1,0) homozygous
// second allele, (0,0,1) missing. The order of a heterozygous pair only means something
// at scaffold sites.
class genotype_reader {
public:
	filter_reader & filter;
	bool chrX;

	std::string sample_header1;
	std::string sample_header2;

	std::vector < std::string > ind_id;
	// Position of each identifier in ind_id: duplicate and parent look-ups stay constant-time in large cohorts.
	std::unordered_map < std::string, int > ind_index;
	std::vector < bool > ind_male;
	// True for an individual with haploid genotypes in a VCF: a male on chromosome X. Empty
	// for the other formats.
	std::vector < bool > ind_haploid;
	std::vector < int > ind_father;
	std::vector < int > ind_mother;
	std::vector < std::vector < int > > ind_children;
	std::vector < int > ind_family;
	std::vector < int > ind_order;
	std::vector < std::vector < std::string > > ind_fields;

	// Owned by the store until a longer-lived owner moves it out: the graphs and writers
	// need the site list after the store is gone.
	std::unique_ptr < snp_set > sites;

	std::vector < std::vector < bool > > hap0;
	std::vector < std::vector < bool > > hap1;
	std::vector < std::vector < bool > > missing;
	std::vector < std::vector < float > > likelihoods;
	std::vector < std::vector < bool > > scaffold;

	genotype_reader(filter_reader & filter, bool chrX);

	// Shared steps of all file readers.
	int putInd(std::string & id);
	snp * putSnp(std::string chr, int pos, std::string a0, std::string a1, char source);
	int getInd(std::string & id);
	bool isFounder(int ind);
	void indexingPedigrees(std::vector < std::string > & fathers, std::vector < std::string > & mothers);
	void indexingFamily(int ind, int family, std::vector < int > & members);
	// Stops the run on a cycle of descent, naming it parent first.
	void checkDescent();
	int resetSnp(bool allele, int site);
	void fixPed();
	void fixBed();

	// File readers that fill the store.
	void readGenotypeImpute(std::string gen, std::string sample, double threshold, bool keep_likelihoods);
	void readGenotypePed(std::string ped, std::string map, std::string missing_code);
	void readGenotypeBed(std::string bed, std::string bim, std::string fam);
	void readGenotypeVcf(std::string vcf);

	// Readers that add to a filled store.
	void readSex(std::string file);
	void readScaffoldImpute(std::string haps, std::string sample);

private:
	// The file whose sites are being read, for the messages of putSnp.
	std::string reading;

	// Site-major readers stage the genotypes of up to 64 sites, one code per site and
	// individual, then append them individual by individual: each individual's bit vectors
	// are then touched once per block of sites instead of once per site.
	std::vector < unsigned char > staged;
	int n_staged;

	static void openInput(ifile & fd, std::string file, bool binary = false);
	void pushGenotype(int ind, bool h0, bool h1, bool miss);
	void stageGenotype(int ind, bool h0, bool h1, bool miss);
	void endStagedSite();
	void flushStaged();
	bool keepSnp(const std::string & chr, int pos);
	void putPlinkFields(std::vector < std::string > & tokens, std::vector < std::string > & fathers, std::vector < std::string > & mothers);
	void recodePlinkPhenotypes();
	void markMajorAsReference();
	void printSampleCounts(int n_excluded, bool with_sex);
	void printSiteCounts(std::string file, int n_excluded, std::string what);
	void readSampleImpute(std::string sample, std::vector < bool > & mask);
	void readSiteList(std::string file, bool bim, std::vector < bool > & mask);
	void readSampleListFam(std::string fam, std::vector < bool > & mask);
	void readGenotypesBed(std::string bed, std::vector < bool > & site_mask, std::vector < bool > & ind_mask);
};

// Calls a genotype from a normalised probability triple: with a threshold >= 0 the first
// of p0, p1, p2 that reaches it in turn, else the highest with ties to the lower genotype.
// A call turns the triple one-hot. Returns 0, 1, 2, or -1 when nothing is called.
int hard_call(float & p0, float & p1, float & p2, double threshold, long & n_failed, long & n_passed);

#endif
