#ifndef _OUTPUT_SET_H
#define _OUTPUT_SET_H

#include <string>
#include <vector>

// The files of a run, each written under a temporary name beside its own. By default a
// complete file gets its name at once; once `deferred` is set (the modes set it), complete
// files keep their temporary names until commit() renames them all, so that a run that
// fails leaves every existing file as it was. Temporaries still there when the process
// ends, complete or not, are removed.
class output_set {
public:
	bool deferred;

	output_set();
	~output_set();

	// A temporary being written for `name`.
	void add(const std::string & temporary, const std::string & name);
	// The temporary is complete: renamed now, or at commit when deferred and not `now`.
	// False, with errno set, if the rename failed.
	bool done(const std::string & temporary, bool now = false);
	// Removes the temporary and forgets it.
	void drop(const std::string & temporary);
	// Renames every complete temporary; false, with the name in `failed`, if one cannot be
	// renamed, and then the others not yet renamed are removed.
	bool commit(std::string & failed);
	// Removes every temporary.
	void discard();

private:
	struct entry {
		std::string temporary;
		std::string name;
		bool complete;
	};
	std::vector < entry > files;
};

extern output_set OUTPUTS;

#endif
