/*
 * animation: animated pictures and video on two displays
 *
 * The model: enumerations, records and the functions that create, update, remove and draw
 * animation objects. An object is one triangle strip with a behaviour over time; the application
 * names it by an id and describes it by a parameter record, the library draws it.
 *
 * What this header does not do: it opens no display and starts no thread (that is Init in
 * <render/render.h>), and it plays no stream (<player/player.h>).
 *
 * The order of calls:
 *
 *   1. Init()
 *   2. CreateAnimationObj, UpdateAnimationObj, RemoveAnimationObj, GetAnimationObjStatus, and the
 *      texture handles (CreateTexture ... DeleteTexture), any number of times
 *   3. DeInit()
 *
 * Nothing here may be called before Init has returned or after DeInit has begun, but for the pure
 * functions (coordinates, TextureTailor).
 *
 * Threads. Creation, update, removal and the queries may be called on any thread, also on several
 * at once: each takes g_mutex for itself and makes no GL call. The texture handles run on the
 * thread that called Init. Functions marked "render thread" are exported for tools that bring
 * their own GL context and drive frames themselves; an application never calls them.
 *
 * Time is counted in frames. A frame is one turn of the render loop, and every duration in a
 * record is a number of frames.
 *
 * Errors are results, never exceptions: creation answers ANIMATION_NO_OBJECT, loaders answer a
 * negative number, everything else does nothing. A rate-limited report is a line that is printed
 * only while the number of swapped frames is a multiple of 300.
 */
#ifndef ANIMATION_ANIMATION_H
#define ANIMATION_ANIMATION_H

#include <stdbool.h>
#include <stdint.h>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <animation/enum.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The id that names no object: what a failed creation returns. 0 is a valid id. */
#define ANIMATION_NO_OBJECT 0xFFFFFFFFu

/* Of each of the two viewports, in pixels. */
#define ANIMATION_VIEWPORT_WIDTH 1152
#define ANIMATION_VIEWPORT_HEIGHT 576

/* Size of every texture set, and one past its last valid index. */
#define ANIMATION_MAX_TEXTURES 128

/* In mask_index and alpha_index: no such texture. 0 is a valid index, so a caller that clears its
 * record must still set both to this. */
#define ANIMATION_NO_TEXTURE 128

/* AnimationObj.curframeno of an object that has not started, or waits out its start delay. */
#define ANIMATION_NOT_STARTED 0xFFFFu

/* ---- Enumerations ------------------------------------------------------------------------- */

/* The kind of an object, and with it the record that describes it. */
typedef enum AnimationType ANIMATION_32_BIT {
	ANI_BACKGROUND = 0,     /* still picture with cross-fade; Backgroud_animationpara */
	ANI_FLASH = 1,          /* picture flashing on and off; Flash_animationpara */
	ANI_FADEINOUT = 2,      /* fade in, stay, fade out, loop; FadeInOutLoop_animationpara */
	ANI_CHARACTERISTIC = 3, /* created as ANI_FADEINOUT, and is one from then on */
	ANI_GRADUALLYDISP = 4,  /* gradual reveal and hide; GraduallyDispLoop_animationpara */
	ANI_VIDEO_GST = 5,      /* video fed by the player; VideoGST_animationpara */
	ANI_VIDEO_RAW = 6,      /* NV12 video fed by the application; VideoRAW_animationpara */
	ANI_SEQUENCE = 7,       /* moving picture; SeqLoop_animationpara */
	ANI_TEST = 8,           /* not implemented: creation refuses it */
	ANI_TEX_CUT = 9,        /* flash on a cut-out of a texture; TexCut_animationpara */
	ANI_MAX = 10,           /* end mark, never a type */
} AnimationType;

/* How the general program combines an object's textures. Units: 0 picture, 1 second picture or
 * mask, 2 alpha texture. alpha0 and alpha1 are RenderObj.prealpha0 and prealpha1. */
typedef enum BlendingMode ANIMATION_32_BIT {
	BLD_SOURCE = 0,      /* unit 0 or the constant colour alone, alpha scaled by alpha0 */
	BLD_SOURCE_MASK = 1, /* unit 1 replaces it where unit 1's alpha times alpha1 exceeds 0.9 */
	BLD_SOURCE_OVER = 2, /* mix of units 0 and 1 by alpha1; alpha0 has no effect */
	BLD_SOURCE_SUB = 4,  /* where unit 1 has any alpha, alpha1 of it is cut out */
	BLD_PRE_ALPHA = 8,   /* unit 1's alpha times alpha1 scales the alpha */
	BLD_ALPHA_MASK = 16, /* flag on one of the others: unit 2's alpha scales the result */
} BlendingMode;

/* What an object is doing: a set of bits. */
typedef enum _AnmationStatus ANIMATION_32_BIT {
	ST_PREPARE = 0,           /* no bit: created, or waiting out its start delay */
	ST_FADEIN = 0x1,          /* fading in, or cross-fading */
	ST_FADEOUT = 0x2,         /* fading out */
	ST_GRADEIN = 0x4,         /* gradual reveal running */
	ST_GRADEOUT = 0x8,        /* gradual hide running */
	ST_SHOW = 0x10,           /* fully shown */
	ST_HIDE = 0x20,           /* fully hidden */
	ST_PENDINGDESTROY = 0x40, /* removal was asked for */
	ST_ONDESTROY = 0x80,      /* will be freed at the end of the current frame */
	ST_SEQIN = 0x100,         /* sequence moving in */
	ST_SEQOUT = 0x200,        /* sequence moving out */
	ST_INVALID = 0xFFFF,      /* no such object: never a state of one */
} AnimationStatus;

/* When a removal takes effect. Backgrounds and videos go at their next frame in both modes. */
typedef enum DeleteObjMode ANIMATION_32_BIT {
	DEL_ON_HIDE = 0,     /* the object plays on and goes at its next hidden phase, if it has one */
	DEL_IMMEDIATELY = 1, /* the object goes at its next frame, undrawn */
} DeleteObjMode;

/* Which program draws an object, and from what. */
typedef enum RenderMode ANIMATION_32_BIT {
	RENDER_TEXTURED = 0,       /* general program, first colour from unit 0 */
	RENDER_CONSTANT = 1,       /* general program, first colour from constant_color */
	RENDER_VIDEO_DMAFD = 2,    /* external image on unit 0 */
	RENDER_VIDEO_RAW_NV12 = 3, /* the two NV12 planes on units 0 and 1 */
} RenderMode;

/* One half of the surface. */
typedef enum ViewPortID ANIMATION_32_BIT {
	VP_LCD0 = 0, /* left half */
	VP_LCD1 = 1, /* right half */
} ViewPortID;

/* What the next frame has to rebuild from a new record; a set of two bits. */
typedef enum UpdateMode ANIMATION_32_BIT {
	UPD_MISC = 0,   /* nothing: fields that are read every frame take effect by themselves */
	UPD_COORDS = 1, /* the strip: positions and texture coordinates */
	UPD_TEXS = 2,   /* the textures and the constant colour; for a video, the picture */
	UPD_ALL = 3,    /* both */
} UpdateMode;

/* Where the textures of a TextureArray come from. Any other value acts as TEX_DATA. */
typedef enum TextureDataMode ANIMATION_32_BIT {
	TEX_BMP = 0,  /* BMP files named in textures_name */
	TEX_DATA = 1, /* pixels described in texdata */
	TEX_IDS = 2,  /* GL textures in texids, which stay the caller's */
	TEX_PNG = 3,  /* PNG files named in textures_name */
} TextureDataMode;

/* How a picture is revealed or hidden. "Top" and "bottom" hold for a strip that begins with its
 * bottom edge. GRAD_NONE and unknown values have no mask, only the alpha ramp. */
typedef enum GraduallyDispMode ANIMATION_32_BIT {
	GRAD_NONE = 0,
	GRAD_LEFT2RIGHT = 1,       /* wipe */
	GRAD_RIGHT2LEFT = 2,       /* wipe */
	GRAD_TOP2BOTTOM = 3,       /* wipe */
	GRAD_BOTTOM2TOP = 4,       /* wipe */
	GRAD_CENTER2EDGE = 5,      /* soft disc opening from the centre */
	GRAD_EDGE2CENTER = 6,      /* soft disc closing onto the centre */
	GRAD_2SIDES2MIDDLE = 7,    /* two bars meeting in the middle */
	GRAD_MIDDLE22SIDES = 8,    /* a bar growing from the middle */
	GRAD_CENTER2SURROUND = 9,  /* soft square opening from the centre */
	GRAD_SURROUND2CENTER = 10, /* soft square closing onto the centre */
	GRAD_BLOCKS = 11,          /* random blocks */
	GRAD_MAX = 11,             /* the last mode, not one past it */
} GraduallyDispMode;

/* How a sequence moves its picture in or out. */
typedef enum SEQUENCE_TYPE ANIMATION_32_BIT {
	SEQ_NONE = 0,        /* stands still */
	SEQ_WAVE = 1,        /* rises and rocks; as an exit, invisible at once */
	SEQ_FLOATINOUT = 2,  /* floats up into place while fading */
	SEQ_WHIP = 3,        /* swings out sideways, growing */
	SEQ_SCALEROTATE = 4, /* grows out of its centre while turning */
	SEQ_MAX = 4,         /* the last motion, not one past it */
} SEQUENCE_TYPE;

/* ---- Records of one object ---------------------------------------------------------------- */

/* What the draw step reads. Owned by its AnimationObj, filled by the generator on the render
 * thread. The arrays are heap blocks of coordnum vertices, NULL before the first set-up. */
typedef struct RenderObj {
	uint32_t objId;                          /* the owner's id */
	uint32_t coordnum;                       /* vertices of the triangle strip */
	float *position3d;                       /* x, y, z a vertex, model space */
	float *texturecoord0;                    /* u, v a vertex, for unit 0 */
	float *texturecoord1;                    /* u, v a vertex, for unit 1 */
	float *texturecoord2;                    /* u, v a vertex, for unit 2 */
	float mvp[4][4];                         /* as glUniformMatrix4fv takes it */
	float prealpha0;                         /* uniform alpha0 */
	float prealpha1;                         /* uniform alpha1 */
	GLuint textures[ANIMATION_MAX_TEXTURES]; /* GL texture names */
	EGLImageKHR imagekhr;                    /* image of the current video frame, else NULL */
	BlendingMode blendingmode;               /* possibly with BLD_ALPHA_MASK or-ed on */
	RenderMode rendermode;
	uint32_t tex_num;        /* entries of textures in use, which removal deletes */
	float constant_color[4]; /* R, G, B, A from 0 to 1, for RENDER_CONSTANT */
	ViewPortID vp_id;
	bool repaint;           /* draw this object in this frame */
	uint8_t textures_owner; /* the library's note of whose textures these are; 0: as the record's
	                           texture mode says */
} RenderObj;

/* One node of the list. Everything it points to is the list's own; only the render thread frees a
 * node, so that on any other thread a pointer to one is good only while g_mutex is held. */
typedef struct AnimationObj {
	uint32_t objId;
	AnimationType animationtype; /* selects the family of functions */
	void *animationpara;         /* the object's own copy of the caller's record */
	RenderObj *renderobj;
	volatile uint32_t curframeno;    /* frame within the animation, or ANIMATION_NOT_STARTED */
	uint32_t cur_loopcnt;            /* cycles completed */
	volatile AnimationStatus status; /* bits */
	DeleteObjMode delmode;           /* of the removal asked for */
	struct AnimationObj *prev;       /* NULL at the head */
	struct AnimationObj *next;       /* NULL at the tail */
} AnimationObj;

/* ---- Parameter records -------------------------------------------------------------------- */

/*
 * The caller's strip: always the first member of a record.
 *
 * Positions are pixels of one viewport, origin at its top left, y downwards; fractions and values
 * outside are allowed. The vertices are rows of two: a strip that begins with its bottom edge
 * (bottom left, bottom right, ... top left, top right) shows a picture upright.
 */
typedef struct InPosition2D {
	uint32_t coordnum;    /* vertices; even, at least 4 */
	float *texPosition2d; /* coordnum pairs (u, v) from 0 to 1; read by ANI_TEX_CUT only */
	float *position2d;    /* coordnum pairs (x, y) */
	ViewPortID vp_id;     /* target viewport */
} InPosition2D;

/* One picture in memory: rows without gaps, the picture's bottom row first. The library keeps no
 * copy: va stays valid until the frame that uploads it has passed (status is no longer
 * ST_PREPARE, or the frame after an update). An object that has not started, or waits out its start
 * delay, uploads with every update, whatever that asks for. */
typedef struct TextureData {
	void *va;
	uint32_t width;       /* pixels */
	uint32_t height;      /* pixels */
	uint32_t textureType; /* GL_RGB, GL_BGRA_EXT, GL_LUMINANCE or GL_LUMINANCE_ALPHA */
} TextureData;

/* The texture set of a record. With no picture in it (tex_num less the mask and alpha textures),
 * the object shows constant_color. */
typedef struct TextureArray {
	TextureDataMode mode; /* which of the next three fields is read */
	GLuint texids[ANIMATION_MAX_TEXTURES];
	TextureData texdata[ANIMATION_MAX_TEXTURES];
	char textures_name[ANIMATION_MAX_TEXTURES][128]; /* paths, terminated */
	uint32_t tex_num;        /* entries in use, at most ANIMATION_MAX_TEXTURES; may be 0 */
	uint16_t mask_index;     /* a background's fade target, or ANIMATION_NO_TEXTURE; in the other
	                            types it is not shown and no picture */
	uint16_t alpha_index;    /* alpha texture for unit 2, or ANIMATION_NO_TEXTURE */
	float constant_color[4]; /* R, G, B, A from 0 to 1 */
} TextureArray;

/*
 * ANI_BACKGROUND: a still picture. A set of two pictures cross-fades from the first to the second
 * in in_frame + 1 frames and stays at the second, whatever mask_index says; with in_frame 0 the
 * first stays. In a set of one picture, mask_index may name a fade target that is not counted as a
 * picture: that fade begins at the object's present frame. Backgrounds are drawn below everything
 * else, and while one exists no video is drawn.
 */
typedef struct Backgroud_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;
	uint32_t in_frame; /* frames of a cross-fade; 0: none */
	UpdateMode update; /* read by UpdateAnimationObj; set to UPD_ALL by creation */
} Backgroud_animationpara;

/*
 * ANI_FLASH: on_frame frames at on_alpha, off_frame frames at off_alpha, over and over.
 *
 * Common to the five loop types (flash, texture cut, fade, gradual, sequence):
 *
 * - pre_frame frames pass before the first cycle, with status ST_PREPARE and nothing visible. An
 *   update never restarts that delay: it writes what is left of it into the caller's record. A
 *   removal with DEL_ON_HIDE that is asked for during the delay is forgotten; ask again, or use
 *   DEL_IMMEDIATELY.
 * - loopcnt 0 repeats without end. With loopcnt k the cycle plays k + 1 times and the object
 *   stays as it ended; with delonloopcnt it plays k times and the object removes itself (with
 *   loopcnt 0 delonloopcnt has no effect).
 */
typedef struct Flash_animationpara {
	InPosition2D in_position2d; /* ANI_TEX_CUT reads texPosition2d too */
	TextureArray textures;      /* only textures[0] and the alpha texture are shown */
	uint32_t pre_frame;         /* frames before the first cycle */
	uint32_t on_frame;          /* frames shown */
	uint32_t off_frame;         /* frames hidden (status ST_HIDE) */
	uint32_t loopcnt;           /* restarts allowed; 0: no limit */
	bool delonloopcnt;          /* remove the object when loopcnt cycles are over */
	float on_alpha;             /* 0 to 1 */
	float off_alpha;            /* 0 to 1 */
	UpdateMode update;          /* read by UpdateAnimationObj; set to UPD_ALL by creation */
} Flash_animationpara;

/* ANI_TEX_CUT: a flash that shows the part of its picture which texPosition2d cuts out. Without
 * that array creation answers ANIMATION_NO_OBJECT, and an update is ignored with a rate-limited
 * report. */
typedef Flash_animationpara TexCut_animationpara;

/*
 * ANI_FADEINOUT and ANI_CHARACTERISTIC: fade from out_alpha to in_alpha, hold, fade back, stay
 * hidden. With several pictures the entry runs through them, and the exit wipes the last one away
 * through the others; an alpha texture then stands behind the pictures. When its loops are used
 * up the object stands at its last alpha, with several pictures showing the last one.
 */
typedef struct FadeInOutLoop_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;
	uint32_t pre_frame;  /* frames before the first cycle */
	uint32_t in_frame;   /* frames of the entry */
	uint32_t sin_frame;  /* frames of the hold */
	uint32_t out_frame;  /* frames of the exit */
	uint32_t sout_frame; /* frames hidden */
	uint32_t loopcnt;    /* restarts allowed; 0: no limit */
	bool delonloopcnt;   /* remove the object when loopcnt cycles are over */
	float in_alpha;      /* when shown, 0 to 1 */
	float out_alpha;     /* when hidden, 0 to 1 */
	UpdateMode update;   /* read by UpdateAnimationObj; set to UPD_ALL by creation */
} FadeInOutLoop_animationpara;

/*
 * ANI_GRADUALLYDISP: reveal through a moving mask, hold, hide through a mask, stay hidden. The
 * object adds eleven mask textures of its own, so that a set of more than
 * ANIMATION_MAX_GRADUAL_TEXTURES is refused: creation answers ANIMATION_NO_OBJECT, an update is
 * ignored with a rate-limited report. All objects in GRAD_BLOCKS share one pattern of entry blocks
 * and one of exit blocks: two of them in the same half at once show a mixture.
 *
 * The bitmaps of the wipes (GT.bmp, GB.bmp, GL.bmp, GR.bmp, and white.bmp) come from a folder that
 * is fixed when the library is built, and are read by every set-up of the textures. A wipe whose
 * bitmap is missing shows no mask. A constant colour without textures has no mask in the entry with
 * GRAD_TOP2BOTTOM and in the exit with GRAD_BOTTOM2TOP.
 */
#define ANIMATION_MAX_GRADUAL_TEXTURES 117
typedef struct GraduallyDispLoop_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;        /* only textures[0] and the alpha texture are shown */
	uint32_t pre_frame;           /* frames before the first cycle */
	uint32_t in_frame;            /* frames of the entry */
	uint32_t sin_frame;           /* frames of the hold */
	uint32_t out_frame;           /* frames of the exit */
	uint32_t sout_frame;          /* frames hidden */
	uint32_t loopcnt;             /* restarts allowed; 0: no limit */
	bool delonloopcnt;            /* remove the object when loopcnt cycles are over */
	float in_alpha;               /* at the end of the entry and in the hold, 0 to 1 */
	float out_alpha;              /* where the ramps start and end, 0 to 1; hidden is always 0 */
	GraduallyDispMode gmode_show; /* mask of the entry */
	GraduallyDispMode gmode_hide; /* mask of the exit */
	UpdateMode update;            /* read by UpdateAnimationObj; set to UPD_ALL by creation */
} GraduallyDispLoop_animationpara;

/*
 * ANI_SEQUENCE: move in, hold, move out, stay hidden. The motions work on an upright quad: a strip
 * of fewer than four vertices never moves, and vertices beyond the fourth stay where they are. An
 * update without UPD_COORDS keeps the present strip, its coordnum included.
 */
typedef struct SeqLoop_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;  /* only textures[0] and the alpha texture are shown */
	uint32_t pre_frame;     /* frames before the first cycle */
	uint32_t in_frame;      /* frames of the entry */
	uint32_t sin_frame;     /* frames of the hold */
	uint32_t out_frame;     /* frames of the exit */
	uint32_t sout_frame;    /* frames hidden */
	uint32_t loopcnt;       /* restarts allowed; 0: no limit */
	bool delonloopcnt;      /* remove the object when loopcnt cycles are over */
	SEQUENCE_TYPE seq_show; /* motion of the entry */
	SEQUENCE_TYPE seq_hide; /* motion of the exit */
	UpdateMode update;      /* read by UpdateAnimationObj; set to UPD_ALL by creation */
} SeqLoop_animationpara;

/* The part of a decoded picture that holds the image, in pixels. */
typedef struct CropRect {
	uint32_t xstart; /* left edge */
	uint32_t ystart; /* top edge */
	uint32_t active_width;
	uint32_t active_heght;
} CropRect;

/* One decoded NV12 frame behind a dma-buf descriptor. */
typedef struct BufferInfoGST {
	uint32_t width;  /* of the whole decoded picture, pixels; also the pitch of both planes */
	uint32_t height; /* of the whole decoded picture, pixels */
	CropRect crop;
	uint32_t fd; /* one descriptor for both planes; never duplicated or closed here */
} BufferInfoGST;

/*
 * ANI_VIDEO_GST: the newest of the frames that updates bring, drawn on top of all images in the
 * frames in which a new one arrived. Register the record with SetGSTPlayAnimationId and the
 * player makes the updates; until the playback has ended it reads the whole record at each frame
 * and owns bufinfo: touch either only under g_mutex, and use the record for no other creation.
 *
 * v runs from the first row of the picture, its top, which is the other way round than for images.
 * An update with UPD_COORDS alone shows texcoord uncropped until the next frame comes; one with
 * UPD_TEXS and without a frame leaves the object without a picture, and so do all where EGL has no
 * image extensions. A frame that cannot be imported is shown black.
 */
typedef struct VideoGST_animationpara {
	InPosition2D in_position2d; /* arrays stay valid for as long as the record is registered */
	float *texcoord;            /* coordnum pairs (u, v): 0 to 1 spans the crop rectangle */
	BufferInfoGST *bufinfo;     /* the frame of an update, or NULL for none; creation sets NULL */
	UpdateMode update;          /* read by UpdateAnimationObj; set to UPD_ALL by creation */
} VideoGST_animationpara;

/* One NV12 frame: pixels in memory, or two ready textures. Keep to one of the two for the life of
 * an object: textures that it uploaded are not deleted when ready ones take their place. */
typedef struct BufferInfoRAW {
	uint32_t width;   /* pixels; rows of both planes are taken as this many bytes long */
	uint32_t height;  /* pixels */
	uint32_t stride;  /* at least width; the second plane begins at praw + stride * height */
	void *praw;       /* the pixels, valid at least until the following update; or NULL */
	GLuint texids[2]; /* with praw NULL: luminance and luminance-alpha textures. A pair is
	                     deleted with the object, and by a picture in praw; one that another
	                     pair replaced stays the caller's. */
} BufferInfoRAW;

/*
 * ANI_VIDEO_RAW: like ANI_VIDEO_GST, on frames that the application supplies: each is one
 * UpdateAnimationObj with UPD_TEXS. A frame given before the object's first turn is not shown. An
 * update without a frame keeps the picture. The chroma plane of an odd size is cut down.
 */
typedef struct VideoRAW_animationpara {
	InPosition2D in_position2d;
	float *texcoord;        /* coordnum pairs (u, v) */
	BufferInfoRAW *bufinfo; /* the frame of an update, or NULL for none; creation sets NULL */
	UpdateMode update;      /* read by UpdateAnimationObj; set to UPD_COORDS by creation */
} VideoRAW_animationpara;

/* ---- Objects: any thread, between Init and DeInit ------------------------------------------ */

/*
 * Creates an object of the type from its record and returns its id: the smallest one that is free,
 * which may be the id of an object that has just gone.
 *
 * The record and its position arrays are copied and may be reused at once; only the pixels of
 * TEX_DATA and the textures of TEX_IDS have to live on. Writes update (and, for videos, bufinfo)
 * of the caller's record. Files are read by the object's first frame, on the render thread.
 *
 * ANIMATION_NO_OBJECT: no such type, no memory, or a record that no object can be. Such a record is
 * left as it is: NULL; coordnum not 0 without position2d, texcoord (videos) or texPosition2d
 * (ANI_TEX_CUT); tex_num above ANIMATION_MAX_TEXTURES (ANI_GRADUALLYDISP:
 * ANIMATION_MAX_GRADUAL_TEXTURES); mask_index or alpha_index above ANIMATION_NO_TEXTURE.
 */
unsigned int CreateAnimationObj(AnimationType type, void *para);

/*
 * Replaces the object's record by a full new one of the object's type, arrays included; its update
 * field says what the next frame rebuilds. Two updates between two frames: the second counts alone,
 * so that one with UPD_MISC before the object's first frame takes its set-up away, and nothing of
 * it shows. For the loop types it writes the remaining pre_frame into the caller's record. Unknown
 * id, or a record that creation would refuse: nothing happens. If memory runs out, the object draws
 * nothing until an update with UPD_COORDS, and is removed as usual.
 */
void UpdateAnimationObj(unsigned int id, void *para);

/* Asks for the removal of an object; a second call replaces the mode. The object is freed at the
 * end of a later frame: GetAnimationObjStatus answers ST_INVALID from then on. While a background
 * exists, videos wait. Unknown id: a rate-limited report. */
void RemoveAnimationObj(unsigned int id, DeleteObjMode mode);

/* The object's status bits, or ST_INVALID if there is no such object. */
AnimationStatus GetAnimationObjStatus(unsigned int id);

/* True if the object exists and is of that type. */
bool IsAnimationObjType(unsigned int id, AnimationType type);

/* The object, or NULL. Hold g_mutex (<render/render.h>) from this call to the last use of the
 * pointer. */
AnimationObj *FindAnimationObj(unsigned int id);

/* The smallest id that is not on the list. Only a hold of g_mutex keeps it free until use. */
unsigned int GenAnimationObjId(void);

/* Appends an object under its id; a second object of the same id is refused with a rate-limited
 * report, and stays the caller's. For the Create functions; whoever makes a node by hand gives the
 * list all of it: node, record, RenderObj and their arrays are zeroed blocks of malloc, filled. */
void InsertAnimationObj(unsigned int id, AnimationObj *obj);

/* The first object of the list, in creation order; NULL when there is none. Guarded by g_mutex. */
extern AnimationObj *animationItemHead;

/* ---- Objects: render thread ---------------------------------------------------------------- */

/* One frame of an object: fills its RenderObj and binds its textures. data is the window. */
void GenAnimationFrame(unsigned int id, void *data);

/* Frees an object with its GL objects. */
void RemoveAnimationObjReal(unsigned int id);

/* A number from 0 to below range, from a series that depends only on the number of calls made so
 * far. Seeds the C library's rand() anew in each call. range must not be 0. */
unsigned int getrand(unsigned int range);

/* ---- The families behind the dispatch ------------------------------------------------------ */

/* Create<Type>Animation, Update<Type>Animation: any thread, as CreateAnimationObj and
 * UpdateAnimationObj. Gen<Type>AnimationFrame: render thread, as GenAnimationFrame. */
unsigned int CreateBackgroundAnimation(Backgroud_animationpara *para);
void UpdateBackgroundAnimation(unsigned int id, Backgroud_animationpara *para);
void GenBackgroundAnimationFrame(unsigned int id, void *data);

unsigned int CreateFlashAnimation(Flash_animationpara *para);
void UpdateFlashAnimation(unsigned int id, Flash_animationpara *para);
void GenFlashAnimationFrame(unsigned int id, void *data);

unsigned int CreateTexCutAnimation(TexCut_animationpara *para);
void UpdateTexCutAnimation(unsigned int id, TexCut_animationpara *para);
void GenTexCutAnimationFrame(unsigned int id, void *data);

unsigned int CreateFadeInOutLoopAnimation(FadeInOutLoop_animationpara *para);
void UpdateFadeInOutLoopAnimation(unsigned int id, FadeInOutLoop_animationpara *para);
void GenFadeInOutLoopAnimationFrame(unsigned int id, void *data);

unsigned int CreateGraduallyDispLoopAnimation(GraduallyDispLoop_animationpara *para);
void UpdateGraduallyDispLoopAnimation(unsigned int id, GraduallyDispLoop_animationpara *para);
void GenGraduallyDispLoopAnimationFrame(unsigned int id, void *data);

unsigned int CreateSeqLoopAnimation(SeqLoop_animationpara *para);
void UpdateSeqLoopAnimation(unsigned int id, SeqLoop_animationpara *para);
void GenSeqLoopAnimationFrame(unsigned int id, void *data);

unsigned int CreateVideoGSTAnimation(VideoGST_animationpara *para);
void UpdateVideoGSTAnimation(unsigned int id, VideoGST_animationpara *para);
void GenVideoGSTAnimationFrame(unsigned int id, void *data);

unsigned int CreateVideoRAWAnimation(VideoRAW_animationpara *para);
void UpdateVideoRAWAnimation(unsigned int id, VideoRAW_animationpara *para);
void GenVideoRAWAnimationFrame(unsigned int id, void *data);

/* ---- Texture handles: the thread that called Init ------------------------------------------ */

/* GL textures that the application makes ahead of time for TEX_IDS. A handle is the caller's from
 * creation to DeleteTexture, and must live for as long as an object shows it. Each call waits for
 * the end of the frame under way and keeps the next one waiting; nothing is flushed. */

/* From pixels, which are read during the call. width and height in pixels, textureType as in
 * TextureData. A refused type is reported; that handle, and one of a size that GL refuses, has no
 * image. 0 on a thread without a context. */
GLuint CreateTexture(int width, int height, int textureType, const void *data);

/* From a BMP or a PNG file, of the kinds that the loaders below take. 0xFFFFFFFF on failure, after
 * the loader's report if it makes one; nothing is left behind then. */
GLuint CreateTextureByName(const char *tex_fname);
GLuint CreateTextureByPng(const char *tex_fname);

/* Deletes a handle. 0 and unknown names are ignored. */
void DeleteTexture(GLuint tex);

/* Any thread: cuts the rectangle (destx, desty, destwidth, destheight) out of a picture of 4 bytes
 * a pixel. srcstride is the length of a source row in bytes, 0 for srcwidth * 4; srcheight is not
 * used, and the rectangle must lie inside the source. Returns a block without row gaps which the
 * caller frees with free(); NULL when memory runs out or the size overflows. */
unsigned char *TextureTailor(uint32_t srcswidth, uint32_t srcheight, uint32_t srcstride,
    uint32_t destx, uint32_t desty, uint32_t destwidth, uint32_t destheight,
    const unsigned char *src);

/* ---- Image loaders: a thread with a current GL context -------------------------------------- */

/*
 * Put pixels into the texture that is bound to GL_TEXTURE_2D on the active unit (tex is not bound
 * here). 0 on success, negative on failure; the texture then stays as it was. All failures but two
 * are reported: an opaque PNG and a decoder without memory are silent.
 *
 * Files may hold anything. Only regular files are read; a size that is not positive or that
 * exceeds GL's largest texture and a file that is too short are refused with -1, a BMP with rows
 * from the top down among them.
 */

/* From memory; data is read during the call. -1: unknown type. A size that GL refuses leaves the
 * texture as it was, and the answer 0. */
int load_texture(GLuint tex, int width, int height, int textureType, const void *data);

/* From a file that holds the pixels from byte offset on; GL_RGB or GL_BGRA_EXT. */
int load_texture_from_raw_file(
    GLuint tex, int width, int height, int textureType, const char *filename, int offset);

/* From a BMP file of 24 bits (taken as GL_RGB, width a multiple of 4) or 32 bits a pixel. */
int load_texture_bmp(GLuint tex, const char *filename);

/* From a PNG file with alpha, of at most 2304 x 2304 pixels. -2: no signature to read, -3: not a
 * PNG, -4: no memory, -1: any other failure, an opaque picture among them. */
int load_texture_png(GLuint tex, const char *filename);

/* ---- Coordinates: pure functions, any thread ------------------------------------------------ */

/* Viewport pixels to model space: coordnum pairs (x, y) to coordnum triples. Model x runs from -2
 * to 2, y from 1 at the top to -1, z is -1. */
void Convert2DTo3DPosition(const float *position2d, float *position3d, uint32_t coordnum);

/* Texture coordinates of a strip of rows of two: u 0 and 1 in each row, v from 0 on the first row
 * to 1 on the last (binversed) or the other way round. A strip of one row gets v of row 0. */
void GenTextureCoord(float *texcoord, uint32_t count, bool binversed);

/* count pairs copied from src, each value held to 0..1. binversed has no effect. */
void GenTextureCoord_cut(float *texcoord, const float *src, uint32_t count, bool binversed);

/* The window x1..x2, y1..y2 spread over a strip: x1 on even vertices, y1 on the first row. */
void GenTextureCoord_GRAD(float *texcoord, uint32_t count, float x1, float y1, float x2, float y2);

/* Shifts (in sizes of the quad), scales and rotates (degrees, counter-clockwise) the quad of the
 * first four vertices about its centre and converts it to model space. position2d must hold four
 * vertices; those beyond the fourth are converted unmoved. */
void Gen3DPosition(const float *position2d, float *position3d, uint32_t coordnum, float angle,
    float hshift_factor, float vshift_factor, float scale_factor);

/* ---- EGL extension entry points ------------------------------------------------------------ */

/* NULL until GetProcAddress (<render/render.h>) has run, and where EGL lacks them. Read only. */
extern PFNEGLCREATEIMAGEKHRPROC f_eglCreateImageKHR;
extern PFNGLEGLIMAGETARGETTEXTURE2DOESPROC f_glEGLImageTargetTexture2DOES;
extern PFNEGLDESTROYIMAGEKHRPROC f_eglDestroyImageKHR;

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
