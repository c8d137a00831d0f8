#include "models/sparse_matrix.h"

#include <algorithm>

sparse_matrix::sparse_matrix() : R(1, 0) {
}

int sparse_matrix::find(int row, int col) const {
	if (row < 0 || row >= rows()) return -1;
	for (int e = R[row] ; e < R[row + 1] ; e ++) if (C[e] == col) return e;
	return -1;
}

void sparse_matrix::set(int row, int col, int step, int total, double share) {
	// Fragments appended to the left block open new, empty rows.
	while (rows() <= row) R.push_back(R.back());
	for (int e = R[row] ; e < R[row + 1] ; e ++) VC[e] = V[e] / (total * share);
	int e = find(row, col);
	if (e < 0) {
		e = std::lower_bound(C.begin() + R[row], C.begin() + R[row + 1], col) - C.begin();
		V.insert(V.begin() + e, 0);
		VN.insert(VN.begin() + e, 0.0);
		VC.insert(VC.begin() + e, 0.0);
		C.insert(C.begin() + e, col);
		for (int r = row + 1 ; r < (int)R.size() ; r ++) R[r] ++;
	}
	V[e] += step;
	VN[e] = (double)V[e] / total;
	VC[e] = V[e] / (total * share);
}

void sparse_matrix::purge(int row, int col) {
	int e = find(row, col);
	if (e < 0 || V[e] > 1e-8) return;
	V.erase(V.begin() + e);
	VN.erase(VN.begin() + e);
	VC.erase(VC.begin() + e);
	C.erase(C.begin() + e);
	for (int r = row + 1 ; r < (int)R.size() ; r ++) R[r] --;
}

int sparse_matrix::sum() const {
	int s = 0;
	for (int v : V) s += v;
	return s;
}

void sparse_matrix::matrix(std::vector < std::vector < int > > & M) const {
	int cols = 0;
	for (int c : C) cols = std::max(cols, c + 1);
	M.assign(rows(), std::vector < int > (cols, 0));
	for (int r = 0 ; r < rows() ; r ++) for (int e = R[r] ; e < R[r + 1] ; e ++) M[r][C[e]] = V[e];
}
