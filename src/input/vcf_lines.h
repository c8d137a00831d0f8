#ifndef _VCF_LINES_H
#define _VCF_LINES_H

#include "utils/ifile.h"

#include <htslib/vcf.h>
#include <string>
#include <vector>

// The lines of a VCF, header included, one at a time. Text files (plain, gzip, bzip2) are
// read as they are; a BCF file (name ending in ".bcf") is read through htslib, which
// formats each record as the VCF line it stands for, so that one parser serves both.
class vcf_lines {
public:
	vcf_lines();
	~vcf_lines();
	vcf_lines(const vcf_lines &) = delete;
	vcf_lines & operator=(const vcf_lines &) = delete;

	// False when the file cannot be opened, or, for a BCF file, its header not read.
	bool open(const std::string & name);
	// False at the end; a broken or truncated BCF record ends the run naming the file.
	bool next(std::string & line);
	void close();

	static bool isBcf(const std::string & name);

private:
	std::string name;
	ifile text;
	htsFile * hts;
	bcf_hdr_t * header;
	bcf1_t * record;
	kstring_t buffer;
	std::vector < std::string > header_lines;
	size_t header_next;
};

#endif
