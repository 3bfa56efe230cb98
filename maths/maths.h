/*
 * Matrices in single precision.
 *
 * A matrix is a float[4][4] that goes to glUniformMatrix4fv as it lies in memory. A point is a row
 * vector, multiplied from the left; the translation lies in m[3][0..2]. Every function that changes
 * a matrix multiplies its own matrix in front, so that the transform given last acts first.
 *
 * Pure functions on the caller's memory: any thread, no allocation, no report.
 */
#ifndef ANIMATION_MATHS_H
#define ANIMATION_MATHS_H

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* pMatrix becomes the unit matrix. */
void myIdentity(float pMatrix[4][4]);

/* psRes = psSrcA x psSrcB. psRes may be psSrcB, never psSrcA. */
void myMultMatrix(float psRes[4][4], float psSrcA[4][4], float psSrcB[4][4]);

/* pMatrix becomes (not: is multiplied by) the view from eye to center; three vectors of 3. With
 * eye equal to center, or up along the line of sight, the columns concerned are zero. */
void myLookAt(float pMatrix[4][4], const float *eye, const float *center, const float *up);

/* Perspective: fovy is the full vertical angle in degrees, aspect width / height. Unchanged if
 * zNear equals zFar, or fovy or aspect is 0. */
void myPersp(float pMatrix[4][4], float fovy, float aspect, float zNear, float zFar);

/* Perspective by the edges of the near plane. Unchanged if two opposite edges are equal,
 * or zNear equals zFar. */
void myFrustum(
    float pMatrix[4][4], float left, float right, float bottom, float top, float zNear, float zFar);

/* Scaling by a factor an axis. */
void myScale(float pMatrix[4][4], float fX, float fY, float fZ);

/* Translation. */
void myTranslate(float pMatrix[4][4], float fX, float fY, float fZ);

/* Rotation by fAngle degrees about the axis (fX, fY, fZ) of any length. A zero axis gives a
 * uniform scale by the cosine. */
void myRotate(float pMatrix[4][4], float fX, float fY, float fZ, float fAngle);

/* The upper left 3 x 3 of the inverse transpose of the whole source, for normals. Unchanged if the
 * source has no inverse. */
void myInvertTransposeMatrix(float pDstMatrix[3][3], float pSrcMatrix[4][4]);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
