#ifndef _GMAP_READER_H
#define _GMAP_READER_H

#include <string>
#include <vector>

// Genetic map in HapMap format: a header line, then position, rate and cumulative
// centimorgans per line, neither position nor distance ever decreasing.
class gmap_reader {
public:
	std::vector < int > pos;
	std::vector < double > cm;

	gmap_reader();

	void readGeneticMapFile(std::string file);
};

#endif
