#ifndef _VCF_OUTPUT_H
#define _VCF_OUTPUT_H

#include "utils/ofile.h"

#include <htslib/vcf.h>
#include <memory>
#include <string>

// Destination of VCF text: the header, then one data line at a time. A name ending in
// ".vcf.gz" is written BGZF-compressed, with a tabix index (".tbi") beside it, and one
// ending in ".bcf" as BCF, with a CSI index (".csi"), both through htslib, which reads back
// each line as a record; any other name as text through ofile (".vcf", ".vcf.bz2"). "-" is
// standard output as text, "-.vcf.gz" and "-.bcf" standard output in those forms, with no
// index. As with ofile, the data and the index go to temporary names that join the outputs
// of the run once complete, and any failure ends the run naming the file.
class vcf_output {
public:
	vcf_output();
	~vcf_output();
	vcf_output(const vcf_output &) = delete;
	vcf_output & operator=(const vcf_output &) = delete;

	// Compressed forms are compressed on `threads` threads of htslib.
	bool open(const std::string & name, int threads = 1);
	// All header lines, each ending in a newline, the "#CHROM" line last.
	void header(const std::string & text);
	void line(const std::string & text);
	void close();

	static bool isIndexed(const std::string & name);
	static bool toStdout(const std::string & name);

private:
	std::string file;
	std::string target;
	std::unique_ptr < ofile > text;
	htsFile * hts;
	bcf_hdr_t * hdr;
	bcf1_t * record;
	kstring_t buffer;

	[[noreturn]] void fail(const std::string & what);
	void release();
};

#endif
