#ifndef _GMAP_READER_H
#define _GMAP_READER_H

#include <string>
#include <vector>

// Genetic map, neither position nor distance ever decreasing, in one of three layouts told
// by its column count and whether its first line is a header (its last field no number):
// - position, rate, cumulative centimorgans (3 columns), with or without a header;
// - chromosome, position, rate, centimorgans (4 columns, a header), a genome-wide map;
// - chromosome, identifier, centimorgans, position (4 columns, no header), a PLINK .map.
// Of the 4-column layouts, only the lines of the chromosome being phased are read; "chr20"
// and "20" name the same chromosome.
class gmap_reader {
public:
	std::vector < int > pos;
	std::vector < double > cm;

	gmap_reader();

	void readGeneticMapFile(std::string file, std::string chromosome);
};

#endif
