#pragma once

/// @file
/// Storage that is addressed from a lower bound of its own, as the numerical routines do.

#include <cstddef>

#include "dataprocessing/dataprocessing_export.h"

namespace rcps {

/// What all routines here call when something goes wrong. It does nothing: a routine that cannot
/// allocate returns a null pointer, and one that does not converge returns what it has.
DATAPROCESSING_EXPORT void nrerror(const char* text) noexcept;

// clang-format off

/// @name Vectors
/// Storage for the indices `lo` to `hi`, not initialised: the pointer is addressed with those very
/// indices. On failure: nrerror("allocation failure in vector()"), with the routine's own name, and
/// null.
/// @{
DATAPROCESSING_EXPORT double*        vector(long lo, long hi) noexcept;
DATAPROCESSING_EXPORT int*           ivector(long lo, long hi) noexcept;
DATAPROCESSING_EXPORT unsigned char* cvector(long lo, long hi) noexcept;
DATAPROCESSING_EXPORT long*          lvector(long lo, long hi) noexcept;
DATAPROCESSING_EXPORT double*        dvector(long lo, long hi) noexcept;
/// @}

/// @name Freeing vectors
/// Frees what the routine of the same name returned for the same bounds; null is nothing to free.
/// @{
DATAPROCESSING_EXPORT void free_vector (double* v,        long lo, long hi) noexcept;
DATAPROCESSING_EXPORT void free_ivector(int* v,           long lo, long hi) noexcept;
DATAPROCESSING_EXPORT void free_cvector(unsigned char* v, long lo, long hi) noexcept;
DATAPROCESSING_EXPORT void free_lvector(long* v,          long lo, long hi) noexcept;
DATAPROCESSING_EXPORT void free_dvector(double* v,        long lo, long hi) noexcept;
/// @}

/// @name Matrices
/// Rows `rlo` to `rhi` of columns `clo` to `chi`: an array of row pointers over one contiguous
/// block, not initialised. On failure: nrerror("allocation failure 1 in matrix()") for the row
/// pointers, 2 for the block, and null.
/// @{
DATAPROCESSING_EXPORT double** matrix (long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT double** dmatrix(long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT int**    imatrix(long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT void free_matrix (double** m, long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT void free_dmatrix(double** m, long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT void free_imatrix(int** m,    long rlo, long rhi, long clo, long chi) noexcept;
/// @}

/// @name Matrices over storage of others
/// Row pointers only: `submatrix` into rows oldrlo to oldrhi and columns from oldclo on of an
/// existing matrix, addressed from (newrlo, newclo); `convert_matrix` over a plain block, row after
/// row. Freeing them frees the pointers and never the elements.
/// @{
DATAPROCESSING_EXPORT double** submatrix(double** a, long oldrlo, long oldrhi, long oldclo, long oldchi, long newrlo, long newclo) noexcept;
DATAPROCESSING_EXPORT double** convert_matrix(double* block, long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT void free_submatrix(double** m, long rlo, long rhi, long clo, long chi) noexcept;
DATAPROCESSING_EXPORT void free_convert_matrix(double** m, long rlo, long rhi, long clo, long chi) noexcept;
/// @}

/// @name Tensors
/// Three levels of single precision over one contiguous block. On failure:
/// nrerror("allocation failure 1 in f3tensor()"), 2 or 3 by level, and null.
/// @{
DATAPROCESSING_EXPORT float*** f3tensor(long rlo, long rhi, long clo, long chi, long dlo, long dhi) noexcept;
DATAPROCESSING_EXPORT void free_f3tensor(float*** t, long rlo, long rhi, long clo, long chi, long dlo, long dhi) noexcept;
/// @}

// clang-format on

} // namespace rcps
