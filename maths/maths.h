/*
 * Matrices in single precision.
 *
 * A matrix is a float[4][4]. Pass it to glUniformMatrix4fv without a change. A point is a row
 * vector on the left of the matrix. m[3][0..2] is the translation. myScale, myTranslate, myRotate,
 * myPersp and myFrustum compute pMatrix = their own matrix x pMatrix. So the last call acts first
 * on a point.
 *
 * All functions are pure. Any thread may call them. They allocate nothing and report nothing.
 */
#ifndef ANIMATION_MATHS_H
#define ANIMATION_MATHS_H

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Sets pMatrix to the identity matrix. */
void myIdentity(float pMatrix[4][4]);

/* psRes = psSrcA x psSrcB. psRes may be psSrcB, but not psSrcA. */
void myMultMatrix(float psRes[4][4], float psSrcA[4][4], float psSrcB[4][4]);

/* Sets pMatrix to the view from eye to center. It does not multiply. eye, center and up have three
 * floats each. Some columns are zero if eye equals center or up points along the line of sight. */
void myLookAt(float pMatrix[4][4], const float *eye, const float *center, const float *up);

/* Multiplies by a perspective. fovy is the full vertical angle in degrees. aspect is width /
 * height. pMatrix stays as it is if zNear equals zFar, or if fovy or aspect is 0. */
void myPersp(float pMatrix[4][4], float fovy, float aspect, float zNear, float zFar);

/* Multiplies by a perspective, given by the edges of the near plane. pMatrix stays as it is if two
 * opposite edges are equal, or if zNear equals zFar. */
void myFrustum(
    float pMatrix[4][4], float left, float right, float bottom, float top, float zNear, float zFar);

/* Multiplies by a scaling, one factor for each axis. */
void myScale(float pMatrix[4][4], float fX, float fY, float fZ);

/* Multiplies by a translation. */
void myTranslate(float pMatrix[4][4], float fX, float fY, float fZ);

/* Multiplies by a rotation of fAngle degrees about the axis (fX, fY, fZ). The axis may have any
 * length. A zero axis gives a uniform scaling by the cosine. */
void myRotate(float pMatrix[4][4], float fX, float fY, float fZ, float fAngle);

/* Sets pDstMatrix to the upper left 3 x 3 of the inverse transpose of pSrcMatrix, for normals.
 * pDstMatrix stays as it is if pSrcMatrix has no inverse. */
void myInvertTransposeMatrix(float pDstMatrix[3][3], float pSrcMatrix[4][4]);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
