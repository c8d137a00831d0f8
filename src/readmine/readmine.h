#ifndef _READMINE_H
#define _READMINE_H

#include <boost/program_options.hpp>
#include <string>
#include <vector>

namespace bpo = boost::program_options;

// The extractor of phase informative reads: from the BAM files listed in a read list and the
// genotypes of a VCF, writes the PIR file that the -assemble and -mutinclude modes read.
class readmine {
public:
	bpo::options_description descriptions;
	bpo::variables_map options;

	readmine();

	void run(std::vector < std::string > & args);

private:
	void declareOptions();
	void parseCommandLine(std::vector < std::string > & args);
	void checkOptions();
};

#endif
