#ifndef _FILTER_READER_H
#define _FILTER_READER_H

#include <map>
#include <string>

// Decides, while files are read, which sites, samples and reference groups take part.
class filter_reader {
public:
	std::map < std::string, bool > ind_exclude;
	std::map < std::string, bool > ind_include;
	std::map < int, bool > snp_exclude;
	std::map < int, bool > snp_include;
	std::map < std::string, bool > grp_include;
	std::map < std::string, bool > grp_exclude;
	int pos_from;
	int pos_to;
	// The one chromosome to read, empty for any.
	std::string chromosome;

	filter_reader();

	void initialise(int pos_from, int pos_to);
	void readSnpExcludeList(std::string file);
	void readSnpIncludeList(std::string file);
	void readIndExcludeList(std::string file);
	void readIndIncludeList(std::string file);
	void readGrpExcludeList(std::string file);
	void readGrpIncludeList(std::string file);

	// Narrows the filter to a region CHR[:FROM[-[TO]]], 1-based and inclusive as in bcftools
	// and samtools, or FROM-TO for positions on any chromosome; the window becomes its
	// intersection with the region's.
	void setRegion(const std::string & region);
	// False when the text is no such region.
	static bool parseRegion(const std::string & region, std::string & chr, int & from, int & to);
	// Ends the run when the text is no such region.
	static void checkRegion(const std::string & region);

	bool checkSnp(int pos);
	bool checkChromosome(const std::string & chr);
	bool checkInd(std::string id);
	bool checkGrp(std::string group1, std::string group2);

	// The list reading and the tests, shared with filter_writer.
	static void readPositionList(std::string file, std::map < int, bool > & list, std::string which, std::string direction);
	static void readNameList(std::string file, std::map < std::string, bool > & list, std::string what, std::string which, std::string direction);
	static bool checkSnp(int pos, const std::map < int, bool > & exclude, const std::map < int, bool > & include, int from, int to);
	static bool checkInd(const std::string & id, const std::map < std::string, bool > & exclude, const std::map < std::string, bool > & include);
};

#endif
