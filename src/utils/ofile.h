#ifndef _OFILE_H
#define _OFILE_H

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <string>

// Output stream that compresses by file extension: ".gz" (gzip) and ".bz2" (bzip2).
// The data go to a temporary file next to the named one, which joins the run's set of
// outputs (OUTPUTS) when close() finds everything written: it gets its name then, or with
// the other outputs of the run at its end, so a failed or interrupted run leaves no file
// that looks complete. The name "-" is standard output; an existing name that is not a
// regular file (a device, a pipe, a link) is written in place. An ofile destroyed without
// close() discards what it wrote.
class ofile : public boost::iostreams::filtering_ostream {
public:
	std::string file;
	std::string target;
	std::ofstream fd;

	ofile();
	ofile(std::string name, bool binary = false);
	~ofile();

	// `at_once`: the file gets its name at close even while the outputs of the run wait;
	// the data check reports, which tell why a run stopped, are written so.
	bool open(std::string name, bool binary = false, bool at_once = false);
	void writeString(std::string & s);
	std::string name();
	// Ends the run through the log's error, naming the file, if anything failed to be written.
	void close();

private:
	int error = 0;
	bool opened = false;
	bool now = false;

	bool release();
};

#endif
