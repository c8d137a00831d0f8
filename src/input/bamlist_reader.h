#ifndef _BAMLIST_READER_H
#define _BAMLIST_READER_H

#include <string>
#include <vector>

// List of read files, three columns a line, kept as they are: two texts and an integer.
class bamlist_reader {
public:
	std::vector < std::string > col0;
	std::vector < std::string > col1;
	std::vector < int > col2;

	bamlist_reader();

	void readBamList(std::string file);
};

#endif
