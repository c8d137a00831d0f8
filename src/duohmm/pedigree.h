#ifndef _PEDIGREE_H
#define _PEDIGREE_H

#include <map>
#include <set>
#include <string>
#include <vector>

class filter_writer;
class genhap_set;

// One sample of the pedigree; a parent "0" is absent.
struct individual {
	std::string fid;
	std::string id;
	std::string dad;
	std::string mum;
	// "1", "2" or "unknown".
	std::string sex;
	int index;
	int pedigree_id;
	// Ids of the children among the samples.
	std::set < std::string > kids;
};

// Who is whose parent among the samples, and the connected families. Parents that are not
// among the samples are dropped ("0").
class pedigree {
public:
	std::map < std::string, individual > sampleinfo;
	std::vector < std::set < std::string > > families;

	// kind 'f': a FAM file; 's': a SAMPLE file; any other letter: empty.
	pedigree(std::string file, const std::vector < std::string > & ids, char kind);
	// From the sample records of a phasing run and the header line of its sample data.
	pedigree(filter_writer & filter, genhap_set & set, std::string sample_header1, std::string sample_header2, const std::vector < std::string > & ids);

	void fromSample(std::string file, const std::vector < std::string > & ids);
	void fromFam(std::string file, const std::vector < std::string > & ids);
	void buildPeds();
	// Appends the family to out, parents before children. A family of one is emptied.
	void orderSamples(std::set < std::string > & family, std::vector < std::string > & out);

	// Columns of the father, the mother and the sex in a sample header line, counted from
	// 0, or -1; the last matching name wins.
	static void findColumns(const std::string & header, int & father, int & mother, int & sex);

private:
	void add(const individual & ind, const std::set < std::string > & known);
};

// Adds id, its ancestors and descendants among the samples to family, filling the kids.
void buildFam(std::string id, std::map < std::string, individual > & sampleinfo, std::set < std::string > & family);

#endif
