#ifndef _OFILE_H
#define _OFILE_H

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <string>

// Output stream that compresses by file extension: ".gz" (gzip) and ".bz2" (bzip2).
// The data go to a temporary file next to the named one, which gets its name only when
// close() finds everything written: a failed or interrupted run leaves no file that looks
// complete. An existing name that is not a regular file (a device, a pipe, a link) is
// written in place. An ofile destroyed without close() discards what it wrote.
class ofile : public boost::iostreams::filtering_ostream {
public:
	std::string file;
	std::string target;
	std::ofstream fd;

	ofile();
	ofile(std::string name, bool binary = false);
	~ofile();

	bool open(std::string name, bool binary = false);
	void writeString(std::string & s);
	std::string name();
	// Ends the run through the log's error, naming the file, if anything failed to be written.
	void close();

private:
	int error = 0;

	bool release();
};

#endif
