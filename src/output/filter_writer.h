#ifndef _FILTER_WRITER_H
#define _FILTER_WRITER_H

#include <map>
#include <string>

class filter_reader;

// Selects, while files are written, which of the processed sites and samples are output.
class filter_writer {
public:
	std::map < std::string, bool > ind_exclude;
	std::map < std::string, bool > ind_include;
	std::map < int, bool > snp_exclude;
	std::map < int, bool > snp_include;
	int pos_from;
	int pos_to;

	filter_writer();

	void initialise(filter_reader & F);
	void setL(int pos);
	void setR(int pos);
	void readSnpExcludeList(std::string file);
	void readSnpIncludeList(std::string file);
	void readIndExcludeList(std::string file);
	void readIndIncludeList(std::string file);

	bool checkSnp(int pos);
	bool checkInd(std::string id);
};

#endif
