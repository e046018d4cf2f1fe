// The LAPACK routines the engine calls, with the Fortran calling convention:
// every argument by address, column-major arrays, and the lengths of
// character arguments passed last.
#pragma once

#include <cstddef>

extern "C" {
void sgesv_(const int* n, const int* nrhs, float* a, const int* lda, int* ipiv, float* b, const int* ldb, int* info);
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb, int* info);
void ssysv_(const char* uplo, const int* n, const int* nrhs, float* a, const int* lda, int* ipiv, float* b,
            const int* ldb, float* work, const int* lwork, int* info, std::size_t uplo_length);
void dsysv_(const char* uplo, const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b,
            const int* ldb, double* work, const int* lwork, int* info, std::size_t uplo_length);
void sposv_(const char* uplo, const int* n, const int* nrhs, float* a, const int* lda, float* b, const int* ldb,
            int* info, std::size_t uplo_length);
void dposv_(const char* uplo, const int* n, const int* nrhs, double* a, const int* lda, double* b, const int* ldb,
            int* info, std::size_t uplo_length);
void sgels_(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda, float* b,
            const int* ldb, float* work, const int* lwork, int* info, std::size_t trans_length);
void dgels_(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
            const int* ldb, double* work, const int* lwork, int* info, std::size_t trans_length);
void sgelss_(const int* m, const int* n, const int* nrhs, float* a, const int* lda, float* b, const int* ldb, float* s,
             const float* rcond, int* rank, float* work, const int* lwork, int* info);
void dgelss_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b, const int* ldb,
             double* s, const double* rcond, int* rank, double* work, const int* lwork, int* info);
void sgelsy_(const int* m, const int* n, const int* nrhs, float* a, const int* lda, float* b, const int* ldb, int* jpvt,
             const float* rcond, int* rank, float* work, const int* lwork, int* info);
void dgelsy_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b, const int* ldb,
             int* jpvt, const double* rcond, int* rank, double* work, const int* lwork, int* info);
void sgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, float* a, const int* lda, float* s,
             float* u, const int* ldu, float* vt, const int* ldvt, float* work, const int* lwork, int* info,
             std::size_t jobu_length, std::size_t jobvt_length);
void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
            const int* lwork, int* info, std::size_t jobz_length, std::size_t uplo_length);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info,
             std::size_t jobu_length, std::size_t jobvt_length);

// The steps of dgelss, for minimum_norm_factor.
double dlamch_(const char* cmach, std::size_t cmach_length);
double dlange_(const char* norm, const int* m, const int* n, const double* a, const int* lda, double* work,
               std::size_t norm_length);
void dlascl_(const char* type, const int* kl, const int* ku, const double* cfrom, const double* cto, const int* m,
             const int* n, double* a, const int* lda, int* info, std::size_t type_length);
void dgebrd_(const int* m, const int* n, double* a, const int* lda, double* d, double* e, double* tauq, double* taup,
             double* work, const int* lwork, int* info);
void dormbr_(const char* vect, const char* side, const char* trans, const int* m, const int* n, const int* k,
             const double* a, const int* lda, const double* tau, double* c, const int* ldc, double* work,
             const int* lwork, int* info, std::size_t vect_length, std::size_t side_length, std::size_t trans_length);
void dorgbr_(const char* vect, const int* m, const int* n, const int* k, double* a, const int* lda, const double* tau,
             double* work, const int* lwork, int* info, std::size_t vect_length);
void dbdsqr_(const char* uplo, const int* n, const int* ncvt, const int* nru, const int* ncc, double* d, double* e,
             double* vt, const int* ldvt, double* u, const int* ldu, double* c, const int* ldc, double* work, int* info,
             std::size_t uplo_length);
void drscl_(const int* n, const double* sa, double* sx, const int* incx);
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy,
            std::size_t trans_length);
}

// The routines under one name per operation, for float and double.
namespace lapack {

inline void gesv(const int* n, const int* nrhs, float* a, const int* lda, int* ipiv, float* b, const int* ldb, int* info) {
  sgesv_(n, nrhs, a, lda, ipiv, b, ldb, info);
}
inline void gesv(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb, int* info) {
  dgesv_(n, nrhs, a, lda, ipiv, b, ldb, info);
}
inline void sysv(const int* n, const int* nrhs, float* a, const int* lda, int* ipiv, float* b, const int* ldb,
                 float* work, const int* lwork, int* info) {
  ssysv_("U", n, nrhs, a, lda, ipiv, b, ldb, work, lwork, info, 1);
}
inline void sysv(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb,
                 double* work, const int* lwork, int* info) {
  dsysv_("U", n, nrhs, a, lda, ipiv, b, ldb, work, lwork, info, 1);
}
inline void posv(const int* n, const int* nrhs, float* a, const int* lda, float* b, const int* ldb, int* info) {
  sposv_("U", n, nrhs, a, lda, b, ldb, info, 1);
}
inline void posv(const int* n, const int* nrhs, double* a, const int* lda, double* b, const int* ldb, int* info) {
  dposv_("U", n, nrhs, a, lda, b, ldb, info, 1);
}
inline void gels(const int* m, const int* n, float* a, const int* lda, float* b, const int* ldb, float* work,
                 const int* lwork, int* info) {
  const int one = 1;
  sgels_("N", m, n, &one, a, lda, b, ldb, work, lwork, info, 1);
}
inline void gels(const int* m, const int* n, double* a, const int* lda, double* b, const int* ldb, double* work,
                 const int* lwork, int* info) {
  const int one = 1;
  dgels_("N", m, n, &one, a, lda, b, ldb, work, lwork, info, 1);
}
inline void gelss(const int* m, const int* n, float* a, const int* lda, float* b, const int* ldb, float* s,
                  const float* rcond, int* rank, float* work, const int* lwork, int* info) {
  const int one = 1;
  sgelss_(m, n, &one, a, lda, b, ldb, s, rcond, rank, work, lwork, info);
}
inline void gelss(const int* m, const int* n, double* a, const int* lda, double* b, const int* ldb, double* s,
                  const double* rcond, int* rank, double* work, const int* lwork, int* info) {
  const int one = 1;
  dgelss_(m, n, &one, a, lda, b, ldb, s, rcond, rank, work, lwork, info);
}
inline void gelsy(const int* m, const int* n, float* a, const int* lda, float* b, const int* ldb, int* jpvt,
                  const float* rcond, int* rank, float* work, const int* lwork, int* info) {
  const int one = 1;
  sgelsy_(m, n, &one, a, lda, b, ldb, jpvt, rcond, rank, work, lwork, info);
}
inline void gelsy(const int* m, const int* n, double* a, const int* lda, double* b, const int* ldb, int* jpvt,
                  const double* rcond, int* rank, double* work, const int* lwork, int* info) {
  const int one = 1;
  dgelsy_(m, n, &one, a, lda, b, ldb, jpvt, rcond, rank, work, lwork, info);
}
inline void gesvd(const char* jobu, const char* jobvt, const int* m, const int* n, float* a, const int* lda, float* s,
                  float* u, const int* ldu, float* vt, const int* ldvt, float* work, const int* lwork, int* info) {
  sgesvd_(jobu, jobvt, m, n, a, lda, s, u, ldu, vt, ldvt, work, lwork, info, 1, 1);
}
inline void gesvd(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
                  double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info) {
  dgesvd_(jobu, jobvt, m, n, a, lda, s, u, ldu, vt, ldvt, work, lwork, info, 1, 1);
}

}  // namespace lapack
