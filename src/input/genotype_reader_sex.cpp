#include "input/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

// Sex file: identifier and sex code per line, "1" for male and anything else female.
// Lines naming nobody in the store are counted as unspecified.
void genotype_reader::readSex(std::string file) {
	LOG.println("\nReading sex data in [" + file + "]");
	ifile fd;
	openInput(fd, file);
	std::string line;
	std::vector < std::string > tokens;
	int n_line = 0, n_specified = 0, n_unspecified = 0;
	for ( ; getline(fd, line) ; n_line ++) {
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields != 2) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected 2");
		int ind = getInd(tokens[0]);
		if (ind < 0) {
			n_unspecified ++;
			continue;
		}
		// The ploidy of a VCF's genotypes already told the sex of its males.
		if (!ind_haploid.empty() && ind_haploid[ind] && tokens[1] != "1") LOG.error("Sample " + tokens[0] + " has haploid genotypes, as a male on chromosome X, but sex [" + tokens[1] + "] in [" + file + "] line " + sutils::int2str(n_line + 1) + ": correct one of the two files");
		ind_male[ind] = (tokens[1] == "1");
		n_specified ++;
	}
	fd.close();
	LOG.println("  * " + sutils::int2str(n_specified) + " individuals with sex specified");
	if (n_unspecified) LOG.println("  * " + sutils::int2str(n_unspecified) + " individuals with unspecified sex (assuming female!)");
}
