#ifndef _VCF_LINES_H
#define _VCF_LINES_H

#include "utils/ifile.h"

#include <htslib/tbx.h>
#include <htslib/vcf.h>
#include <string>
#include <vector>

// The lines of a VCF, header first, one at a time. The compression is told by the content:
// a text VCF, plain or BGZF, is read line by line through htslib (plain gzip and bzip2
// through ifile); a BCF file through htslib too, which formats each record as the VCF line it
// stands for, so that one parser serves both. An indexed file can be read over a region
// only.
class vcf_lines {
public:
	vcf_lines();
	~vcf_lines();
	vcf_lines(const vcf_lines &) = delete;
	vcf_lines & operator=(const vcf_lines &) = delete;

	// False when the file cannot be opened. A file that is not a VCF, or whose header is
	// broken, ends the run naming it.
	bool open(const std::string & name);
	// Limits the data lines to those of chromosome chr that overlap the positions from to
	// to (1-based, inclusive), through the file's index (.tbi or .csi). False, and the
	// whole file is read, when it has none.
	bool region(const std::string & chr, int from, int to);
	// False at the end; a broken or truncated file ends the run naming it.
	bool next(std::string & line);
	void close();

private:
	std::string name;
	ifile text;
	htsFile * hts;
	bcf_hdr_t * header;
	bcf1_t * record;
	kstring_t buffer;
	tbx_t * tbx;
	hts_idx_t * index;
	hts_itr_t * itr;
	bool exhausted;
	std::vector < std::string > header_lines;
	size_t header_next;

	bool readLine(std::string & line);
	bool readRaw(std::string & line);
	[[noreturn]] void broken();
};

#endif
