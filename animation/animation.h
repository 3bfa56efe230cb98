/*
 * animation: animated pictures and video on a device with two displays
 *
 * This header is the model: the enumerations, the records, and the functions that create, update
 * and remove animation objects. An object is a triangle strip whose look changes over time. The
 * application fills a parameter record, and creation returns the object's id. The library draws the
 * object.
 *
 * Init, in <render/render.h>, opens the display and starts the render thread. <player/player.h>
 * plays streams.
 *
 * The order of calls:
 *
 *   1. Init()
 *   2. CreateAnimationObj, UpdateAnimationObj, RemoveAnimationObj, GetAnimationObjStatus, and the
 *      texture handles (CreateTexture ... DeleteTexture), as often as you like
 *   3. DeInit()
 *
 * Call nothing here before Init has returned or after DeInit has begun. Only the pure functions
 * (coordinates, TextureTailor) may run at any time.
 *
 * Words. A picture is one image that an object shows. It comes from an image file (BMP or PNG),
 * from pixels in memory or from a texture. A video frame is one image of a video. A texture is
 * GL's, and so is a texture unit.
 *
 * Time is counted in frames. A frame is one turn of the render loop. Every duration in a record is
 * a number of frames.
 *
 * Threads. Any thread may create, update, remove and ask, also several threads at once. These calls
 * take g_mutex themselves and make no GL call. Texture handles belong to the thread that called
 * Init. Functions marked "render thread" are for tools that bring their own GL context and drive
 * the frames themselves. An application never calls them.
 *
 * Errors are results, never exceptions. Creation returns ANIMATION_NO_OBJECT. The loaders return a
 * negative number. All other functions do nothing on an error. A rate-limited report is a line that
 * is printed only while the number of swapped frames is a multiple of 300.
 *
 * What surprises newcomers:
 *
 *   - A PNG file needs an alpha channel. An opaque PNG file shows black, and nothing is reported.
 *   - A BMP file of 24 bits a pixel shows red and blue exchanged. Use 32 bits.
 *   - mask_index and alpha_index 0 are valid indices. A record that is only cleared therefore names
 *     textures[0] as mask and as alpha texture. Start from an ANIMATION_..._INIT macro (below).
 *   - While a background object exists, no video is drawn.
 *   - A video object is drawn only in frames that bring it a new video frame. Beside image objects
 *     it disappears in all other frames.
 */
#ifndef ANIMATION_ANIMATION_H
#define ANIMATION_ANIMATION_H

#include <stdbool.h>
#include <stddef.h>
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

/* The id that names no object. A failed creation returns it. 0 is a valid id. */
#define ANIMATION_NO_OBJECT 0xFFFFFFFFu

/* The handle that names no texture. CreateTextureByName and CreateTextureByPng return it on
 * failure. */
#define ANIMATION_NO_HANDLE 0xFFFFFFFFu

/* Size of each of the two viewports, in pixels. */
#define ANIMATION_VIEWPORT_WIDTH 1152
#define ANIMATION_VIEWPORT_HEIGHT 576

/* The most textures that a set can hold. Valid indices are below it. */
#define ANIMATION_MAX_TEXTURES 128

/* In mask_index and alpha_index: no such texture. 0 is a valid index, so a cleared record still
 * needs this in both fields. */
#define ANIMATION_NO_TEXTURE 128

/* AnimationObj.curframeno of an object that has not started or is in its start delay. An object can
 * also reach this value by counting, after 22 minutes at 50 frames a second. If an update with
 * another mode than UPD_MISC comes for exactly that frame, the object starts again from the
 * beginning. */
#define ANIMATION_NOT_STARTED 0xFFFFu

/* ---- Enumerations ------------------------------------------------------------------------- */

/* The type of an object. It decides which record describes the object. */
typedef enum AnimationType ANIMATION_32_BIT {
	ANI_BACKGROUND = 0,     /* still picture with cross-fade; Backgroud_animationpara */
	ANI_FLASH = 1,          /* picture that flashes on and off; Flash_animationpara */
	ANI_FADEINOUT = 2,      /* fade in, stay, fade out, loop; FadeInOutLoop_animationpara */
	ANI_CHARACTERISTIC = 3, /* another name for ANI_FADEINOUT, which the object becomes */
	ANI_GRADUALLYDISP = 4,  /* gradual reveal and hide; GraduallyDispLoop_animationpara */
	ANI_VIDEO_GST = 5,      /* video fed by the player; VideoGST_animationpara */
	ANI_VIDEO_RAW = 6,      /* NV12 video fed by the application; VideoRAW_animationpara */
	ANI_SEQUENCE = 7,       /* picture that moves in and out; SeqLoop_animationpara */
	ANI_TEST = 8,           /* not implemented: creation refuses it */
	ANI_TEX_CUT = 9,        /* flash on a cut-out of a texture; TexCut_animationpara */
	ANI_MAX = 10,           /* end mark, not a type */
} AnimationType;

/* How the general shader program combines an object's textures. T0, T1 and T2 are the textures on
 * the texture units 0 (picture), 1 (second picture or mask) and 2 (alpha texture). alpha0 and
 * alpha1 are RenderObj.prealpha0 and prealpha1. */
typedef enum BlendingMode ANIMATION_32_BIT {
	BLD_SOURCE = 0,      /* T0 or the constant colour alone; alpha0 scales its alpha */
	BLD_SOURCE_MASK = 1, /* T1 replaces T0 where T1's alpha times alpha1 is above 0.9 */
	BLD_SOURCE_OVER = 2, /* T0 and T1 mixed by alpha1; alpha0 has no effect */
	BLD_SOURCE_SUB = 4,  /* where T1 has any alpha, 1 - alpha1 scales T0's alpha */
	BLD_PRE_ALPHA = 8,   /* T1's alpha times alpha1 scales T0's alpha */
	BLD_ALPHA_MASK = 16, /* flag, added to one of the others: T2's alpha scales the result */
} BlendingMode;

/* What an object does now: a set of bits. */
typedef enum _AnmationStatus ANIMATION_32_BIT {
	ST_PREPARE = 0,           /* no bit: not started, or in its start delay */
	ST_FADEIN = 0x1,          /* fading in, or cross-fading */
	ST_FADEOUT = 0x2,         /* fading out */
	ST_GRADEIN = 0x4,         /* being revealed through a mask */
	ST_GRADEOUT = 0x8,        /* being hidden through a mask */
	ST_SHOW = 0x10,           /* fully shown */
	ST_HIDE = 0x20,           /* fully hidden */
	ST_PENDINGDESTROY = 0x40, /* removal was asked for */
	ST_ONDESTROY = 0x80,      /* will be freed at the end of the current frame */
	ST_SEQIN = 0x100,         /* moving in */
	ST_SEQOUT = 0x200,        /* moving out */
	ST_INVALID = 0xFFFF,      /* there is no object of this id */
} AnimationStatus;

/* When a removal takes effect. Background and video objects go in their next frame in both
 * modes. */
typedef enum DeleteObjMode ANIMATION_32_BIT {
	DEL_ON_HIDE = 0,     /* the object goes in its next hidden phase; without one it stays */
	DEL_IMMEDIATELY = 1, /* the object goes in its next frame and is not drawn in it */
} DeleteObjMode;

/* Which shader program draws an object, and from what. */
typedef enum RenderMode ANIMATION_32_BIT {
	RENDER_TEXTURED = 0,       /* general program, on the texture of texture unit 0 */
	RENDER_CONSTANT = 1,       /* general program, on constant_color */
	RENDER_VIDEO_DMAFD = 2,    /* video program, on an external image on texture unit 0 */
	RENDER_VIDEO_RAW_NV12 = 3, /* video program, on two NV12 planes on texture units 0 and 1 */
} RenderMode;

/* One half of the surface, that is one display. */
typedef enum ViewPortID ANIMATION_32_BIT {
	VP_LCD0 = 0, /* left half */
	VP_LCD1 = 1, /* right half */
} ViewPortID;

/* What the next frame rebuilds from a new record: a set of two bits. */
typedef enum UpdateMode ANIMATION_32_BIT {
	UPD_MISC = 0,   /* nothing; durations, alphas and counts still take effect */
	UPD_COORDS = 1, /* the strip: positions and texture coordinates */
	UPD_TEXS = 2,   /* the textures and the constant colour; for a video, the video frame */
	UPD_ALL = 3,    /* the strip and the textures */
} UpdateMode;

/* Where the textures of a TextureArray come from. Any other value acts as TEX_DATA. */
typedef enum TextureDataMode ANIMATION_32_BIT {
	TEX_BMP = 0,  /* the BMP files in textures_name; 32 bits a pixel, since 24 swap red and blue */
	TEX_DATA = 1, /* the pixels in texdata */
	TEX_IDS = 2,  /* the GL textures in texids; they stay the application's */
	TEX_PNG = 3,  /* the PNG files in textures_name; only files with an alpha channel load */
} TextureDataMode;

/* How a picture is revealed or hidden. The names assume a strip that begins with its bottom edge.
 * GRAD_NONE and unknown values use no mask, only the alpha ramp. */
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
	GRAD_MAX = 11,             /* equal to the last mode, not one past it */
} GraduallyDispMode;

/* How a sequence moves its picture in or out. */
typedef enum SEQUENCE_TYPE ANIMATION_32_BIT {
	SEQ_NONE = 0,        /* stands still */
	SEQ_WAVE = 1,        /* rises and rocks; as an exit it hides the picture at once */
	SEQ_FLOATINOUT = 2,  /* floats up into place while fading */
	SEQ_WHIP = 3,        /* swings out sideways, growing */
	SEQ_SCALEROTATE = 4, /* grows out of its centre while turning */
	SEQ_MAX = 4,         /* equal to the last motion, not one past it */
} SEQUENCE_TYPE;

/* ---- Records of one object ---------------------------------------------------------------- */

/* What the draw step reads. The AnimationObj owns it. The object's generator fills it on the render
 * thread. The arrays are heap blocks for coordnum vertices, and NULL before the first set-up. */
typedef struct RenderObj {
	uint32_t objId;                          /* the owner's id */
	uint32_t coordnum;                       /* vertices of the triangle strip */
	float *position3d;                       /* x, y, z of each vertex, in model space */
	float *texturecoord0;                    /* u, v of each vertex, for texture unit 0 */
	float *texturecoord1;                    /* u, v of each vertex, for texture unit 1 */
	float *texturecoord2;                    /* u, v of each vertex, for texture unit 2 */
	float mvp[4][4];                         /* as glUniformMatrix4fv takes it */
	float prealpha0;                         /* uniform alpha0 */
	float prealpha1;                         /* uniform alpha1 */
	GLuint textures[ANIMATION_MAX_TEXTURES]; /* GL texture names */
	EGLImageKHR imagekhr;                    /* image of the current video frame, else NULL */
	BlendingMode blendingmode;               /* may have the flag BLD_ALPHA_MASK */
	RenderMode rendermode;
	uint32_t tex_num;        /* entries of textures that removal deletes */
	float constant_color[4]; /* R, G, B, A from 0 to 1, for RENDER_CONSTANT */
	ViewPortID vp_id;
	bool repaint;           /* true: draw this object in this frame */
	uint8_t textures_owner; /* the library's note of who owns the textures; 0: the record's texture
	                           mode decides */
} RenderObj;

/* One node of the list. The list owns the node and everything it points to. Only the render thread
 * frees nodes. On every other thread, hold g_mutex for as long as you use a pointer to a node. */
typedef struct AnimationObj {
	uint32_t objId;
	AnimationType animationtype; /* selects the type's functions */
	void *animationpara;         /* the object's own copy of the application's record */
	RenderObj *renderobj;
	volatile uint32_t curframeno;    /* frame within the animation, or ANIMATION_NOT_STARTED */
	uint32_t cur_loopcnt;            /* cycles completed; wraps without effect if loopcnt is 0 */
	volatile AnimationStatus status; /* a set of bits */
	DeleteObjMode delmode;           /* mode of the requested removal */
	struct AnimationObj *prev;       /* NULL at the head */
	struct AnimationObj *next;       /* NULL at the tail */
} AnimationObj;

/* ---- Parameter records -------------------------------------------------------------------- */

/*
 * The strip of an object. It is the first member of every record.
 *
 * Positions are pixels of one viewport. The origin is the top left corner, and y points down.
 * Fractions and positions outside the viewport are allowed. The vertices come in rows of two. A
 * strip that begins with its bottom edge shows a picture upright: bottom left, bottom right, ...,
 * top left, top right.
 */
typedef struct InPosition2D {
	uint32_t coordnum;    /* vertices; even, at least 4 */
	float *texPosition2d; /* coordnum pairs (u, v) from 0 to 1; read by ANI_TEX_CUT only */
	float *position2d;    /* coordnum pairs (x, y) */
	ViewPortID vp_id;     /* target viewport */
} InPosition2D;

/*
 * One picture in memory: rows without gaps, the bottom row first.
 *
 * The library keeps no copy. The pixels must stay valid until the frame that uploads them is over.
 * After creation, that frame is over when the status is no longer ST_PREPARE. After an update, it
 * is the next frame. Before the start and during the start delay, every update uploads its pixels
 * again, whatever its UpdateMode.
 */
typedef struct TextureData {
	void *va;             /* the pixels */
	uint32_t width;       /* pixels */
	uint32_t height;      /* pixels */
	uint32_t textureType; /* GL_RGB, GL_BGRA_EXT, GL_LUMINANCE or GL_LUMINANCE_ALPHA */
} TextureData;

/* The texture set of a record. Its pictures are the first tex_num entries, except the mask and the
 * alpha texture. An object without a picture shows constant_color. */
typedef struct TextureArray {
	TextureDataMode mode; /* which of the next three fields is read */
	GLuint texids[ANIMATION_MAX_TEXTURES];
	TextureData texdata[ANIMATION_MAX_TEXTURES];
	char textures_name[ANIMATION_MAX_TEXTURES][128]; /* paths, each with its final 0 */
	uint32_t tex_num;        /* entries in use, 0 to ANIMATION_MAX_TEXTURES */
	uint16_t mask_index;     /* index of a background's fade target, or ANIMATION_NO_TEXTURE; in
	                            other types that texture is not shown and counts as no picture */
	uint16_t alpha_index;    /* index of the alpha texture, or ANIMATION_NO_TEXTURE */
	float constant_color[4]; /* R, G, B, A from 0 to 1 */
} TextureArray;

/*
 * ANI_BACKGROUND: a still picture. Backgrounds are drawn below everything else. While one exists,
 * no video is drawn.
 *
 * A set of two pictures cross-fades from the first to the second in in_frame + 1 frames. The second
 * then stays, whatever mask_index says. With in_frame 0 the first picture stays.
 *
 * A set of one picture may name a fade target by mask_index. The fade target does not count as a
 * picture. The fade does not begin at frame 0 but at the object's present frame number.
 */
typedef struct Backgroud_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;
	uint32_t in_frame; /* frames of a cross-fade; 0: none */
	UpdateMode update; /* read by UpdateAnimationObj; creation sets UPD_ALL */
} Backgroud_animationpara;

/*
 * ANI_FLASH: a cycle of on_frame frames at on_alpha and off_frame frames at off_alpha.
 *
 * These rules hold for all loop types, which are those whose records have pre_frame.
 *
 * - Start delay: pre_frame frames pass before the first cycle. The object is invisible and its
 *   status is ST_PREPARE. An update does not restart the delay. It writes the frames that are left
 *   into pre_frame of the application's record.
 * - A removal with DEL_ON_HIDE during the start delay is lost. Ask again later, or use
 *   DEL_IMMEDIATELY.
 * - loopcnt 0: the cycle repeats for ever, and delonloopcnt has no effect.
 * - loopcnt k without delonloopcnt: the cycle plays k + 1 times. The object then stays as it is.
 * - loopcnt k with delonloopcnt: the cycle plays k times. The object then removes itself.
 * - Counts have 32 bits. The sum of a cycle's durations wraps. An object that stays as it is
 *   plays its cycle once more after 2^32 frames, which are more than two years.
 */
typedef struct Flash_animationpara {
	InPosition2D in_position2d; /* ANI_TEX_CUT reads texPosition2d too */
	TextureArray textures;      /* only textures[0] and the alpha texture are shown */
	uint32_t pre_frame;         /* frames before the first cycle */
	uint32_t on_frame;          /* frames at on_alpha (status ST_SHOW) */
	uint32_t off_frame;         /* frames at off_alpha (status ST_HIDE) */
	uint32_t loopcnt;           /* number of restarts; 0: no limit */
	bool delonloopcnt;          /* true: remove the object after loopcnt cycles */
	float on_alpha;             /* 0 to 1 */
	float off_alpha;            /* 0 to 1 */
	UpdateMode update;          /* read by UpdateAnimationObj; creation sets UPD_ALL */
} Flash_animationpara;

/* ANI_TEX_CUT: a flash that shows a part of its picture. texPosition2d tells which. Without
 * texPosition2d creation returns ANIMATION_NO_OBJECT, and an update is ignored with a rate-limited
 * report. */
typedef Flash_animationpara TexCut_animationpara;

/*
 * ANI_FADEINOUT and ANI_CHARACTERISTIC: fade from out_alpha to in_alpha, hold, fade back, stay
 * hidden.
 *
 * With several pictures, the entry shows one after the other. The exit cuts the others out of the
 * last one, step by step. An alpha texture then lies behind the pictures.
 *
 * After its last cycle the object stays at its last alpha. With several pictures it shows the last
 * one.
 */
typedef struct FadeInOutLoop_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;
	uint32_t pre_frame;  /* frames before the first cycle */
	uint32_t in_frame;   /* frames of the entry */
	uint32_t sin_frame;  /* frames of the hold */
	uint32_t out_frame;  /* frames of the exit */
	uint32_t sout_frame; /* frames hidden */
	uint32_t loopcnt;    /* number of restarts; 0: no limit */
	bool delonloopcnt;   /* true: remove the object after loopcnt cycles */
	float in_alpha;      /* when shown, 0 to 1 */
	float out_alpha;     /* when hidden, 0 to 1 */
	UpdateMode update;   /* read by UpdateAnimationObj; creation sets UPD_ALL */
} FadeInOutLoop_animationpara;

/*
 * ANI_GRADUALLYDISP: reveal through a moving mask, hold, hide through a mask, stay hidden.
 *
 * The object adds eleven mask textures of its own. A set of more than
 * ANIMATION_MAX_GRADUAL_TEXTURES textures is therefore refused: creation returns
 * ANIMATION_NO_OBJECT, and an update is ignored with a rate-limited report.
 *
 * The wipes read their bitmaps (GT.bmp, GB.bmp, GL.bmp, GR.bmp, white.bmp) from a folder. The build
 * option mask_dir names it. Every set-up of the textures reads them again. A wipe whose bitmap is
 * missing shows no mask.
 *
 * All objects with GRAD_BLOCKS share one pattern for the entry and one for the exit. Two such
 * objects that are in their entry at the same time disturb each other's pattern. So do two in their
 * exit.
 *
 * An object without textures shows two wipes without a mask: GRAD_TOP2BOTTOM as its entry, and
 * GRAD_BOTTOM2TOP as its exit.
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
	uint32_t loopcnt;             /* number of restarts; 0: no limit */
	bool delonloopcnt;            /* true: remove the object after loopcnt cycles */
	float in_alpha;               /* at the end of the entry and in the hold, 0 to 1 */
	float out_alpha;              /* at the start of the entry and the end of the exit, 0 to 1;
	                                 the hidden phase always has 0 */
	GraduallyDispMode gmode_show; /* mask of the entry */
	GraduallyDispMode gmode_hide; /* mask of the exit */
	UpdateMode update;            /* read by UpdateAnimationObj; creation sets UPD_ALL */
} GraduallyDispLoop_animationpara;

/*
 * ANI_SEQUENCE: move in, hold, move out, stay hidden. The motions work on an upright quad. A strip
 * of fewer than four vertices never moves. Vertices after the fourth stay where they are. An update
 * without UPD_COORDS keeps the present strip and its coordnum.
 */
typedef struct SeqLoop_animationpara {
	InPosition2D in_position2d;
	TextureArray textures;  /* only textures[0] and the alpha texture are shown */
	uint32_t pre_frame;     /* frames before the first cycle */
	uint32_t in_frame;      /* frames of the entry */
	uint32_t sin_frame;     /* frames of the hold */
	uint32_t out_frame;     /* frames of the exit */
	uint32_t sout_frame;    /* frames hidden */
	uint32_t loopcnt;       /* number of restarts; 0: no limit */
	bool delonloopcnt;      /* true: remove the object after loopcnt cycles */
	SEQUENCE_TYPE seq_show; /* motion of the entry */
	SEQUENCE_TYPE seq_hide; /* motion of the exit */
	UpdateMode update;      /* read by UpdateAnimationObj; creation sets UPD_ALL */
} SeqLoop_animationpara;

/* The part of a decoded video frame that is to be shown, in pixels. */
typedef struct CropRect {
	uint32_t xstart; /* left edge */
	uint32_t ystart; /* top edge */
	uint32_t active_width;
	uint32_t active_heght;
} CropRect;

/* One decoded NV12 video frame behind a dma-buf descriptor. */
typedef struct BufferInfoGST {
	uint32_t width;  /* of the whole decoded frame, pixels; also the bytes of a row of each plane */
	uint32_t height; /* of the whole decoded frame, pixels */
	CropRect crop;
	uint32_t fd; /* the decoder's descriptor of both planes; never duplicated or closed here */
} BufferInfoGST;

/*
 * ANI_VIDEO_GST: a video that the player feeds. The object shows the newest video frame, above all
 * image objects.
 *
 * A video object is drawn only in frames that bring it an update. If the list holds only videos,
 * the display keeps the last image in between. If the list also holds image objects, each frame
 * starts from black, so the video disappears in all frames without a new video frame. While a
 * background exists, no video is drawn.
 *
 * Create the object, then register its record with SetGSTPlayAnimationId (<player/player.h>). The
 * player then makes the updates. Until the playback has ended, the player reads the whole record at
 * each video frame. Touch the record only under g_mutex in that time, and create no other object
 * from it.
 *
 * v = 0 is the top row of a video frame. (For pictures it is the bottom row.)
 *
 * An update with UPD_COORDS alone shows the whole decoded frame, uncropped, until the next video
 * frame. An update with UPD_TEXS and a NULL bufinfo takes the video frame away. Where EGL has no
 * image extensions, no video frame is ever shown. A video frame that cannot be imported is black.
 *
 * Who owns the block behind bufinfo of the application's record:
 *
 *   Time                                      Owner         bufinfo
 *   before creation                           application   not read
 *   after a successful creation               application   NULL; the block that was there before
 *                                                           is still the application's to free
 *   UpdateAnimationObj by the application     application   the call copies the block or NULL
 *   from SetGSTPlayAnimationId to the end     player        must be NULL or a block from malloc();
 *   of the playback                                         touch it only under g_mutex
 *   after the end of the playback             nobody        NULL; the player has freed the block
 *   a second registration replaces the        application   the application frees it with free()
 *   first, before the playback has ended
 */
typedef struct VideoGST_animationpara {
	InPosition2D in_position2d; /* arrays must stay valid while the record is registered */
	float *texcoord;            /* coordnum pairs (u, v); 0 to 1 spans the crop rectangle */
	BufferInfoGST *bufinfo;     /* the video frame of an update, or NULL for none */
	UpdateMode update;          /* read by UpdateAnimationObj; creation sets UPD_ALL */
} VideoGST_animationpara;

/*
 * One NV12 video frame: pixels in memory, or two ready textures.
 *
 * Use only one of the two ways for the life of an object. An object that changes from pixels to
 * ready textures never deletes the textures that it made for the pixels.
 *
 * An object deletes its ready textures when it goes, and when an update brings pixels instead. If
 * an update brings another pair, the first pair is the application's again.
 */
typedef struct BufferInfoRAW {
	uint32_t width;   /* pixels; a row of either plane is read as this many bytes */
	uint32_t height;  /* pixels */
	uint32_t stride;  /* at least width; the second plane begins at praw + stride * height */
	void *praw;       /* the pixels, or NULL; valid until the object's next update or its end */
	GLuint texids[2]; /* read if praw is NULL: a luminance and a luminance-alpha texture */
} BufferInfoRAW;

/*
 * ANI_VIDEO_RAW: a video that the application feeds. It is drawn in the same frames as
 * ANI_VIDEO_GST. Each video frame is one UpdateAnimationObj with UPD_TEXS.
 *
 * A video frame that comes before the object's first frame is not shown. An update with a NULL
 * bufinfo keeps the video frame. If width or height is odd, the second plane loses the odd column
 * or row.
 *
 * The block behind bufinfo is always the application's. UpdateAnimationObj copies it, so it may be
 * changed or freed right after the call. The pixels behind praw are not copied. Creation sets
 * bufinfo to NULL and does not free the block that was there.
 */
typedef struct VideoRAW_animationpara {
	InPosition2D in_position2d;
	float *texcoord;        /* coordnum pairs (u, v); v = 0 is the top row */
	BufferInfoRAW *bufinfo; /* the video frame of an update, or NULL for none */
	UpdateMode update;      /* read by UpdateAnimationObj; creation sets UPD_COORDS */
} VideoRAW_animationpara;

/* ---- Start values --------------------------------------------------------------------------- */

/*
 * Start values for the records, in C11 and in C++11:
 *
 *     Flash_animationpara lamp = ANIMATION_FLASH_INIT;
 *
 * An image object made from such a record shows an opaque white shape as soon as the strip is set.
 * Set coordnum and position2d of in_position2d, then whatever else differs. A texture cut also
 * needs texPosition2d. A video needs texcoord, and then video frames.
 */

/* No vertices yet, left display. */
#define ANIMATION_STRIP_INIT                                                                       \
	{                                                                                              \
		0, NULL, NULL, VP_LCD0                                                                     \
	}

/* No pictures, no mask, no alpha texture; the constant colour is opaque white. The mode is TEX_PNG:
 * write a path to textures_name[0] and set tex_num to 1. */
#define ANIMATION_TEXTURES_INIT                                                                    \
	{                                                                                              \
		TEX_PNG, {0}, {{NULL, 0, 0, 0}}, {""}, 0, ANIMATION_NO_TEXTURE, ANIMATION_NO_TEXTURE,      \
		{                                                                                          \
			1, 1, 1, 1                                                                             \
		}                                                                                          \
	}

/* Cross-fades in 25 frames, if the set has two pictures. */
#define ANIMATION_BACKGROUND_INIT                                                                  \
	{                                                                                              \
		ANIMATION_STRIP_INIT, ANIMATION_TEXTURES_INIT, 25, UPD_ALL                                 \
	}

/* 25 frames on, 25 frames off, for ever. */
#define ANIMATION_FLASH_INIT                                                                       \
	{                                                                                              \
		ANIMATION_STRIP_INIT, ANIMATION_TEXTURES_INIT, 0, 25, 25, 0, false, 1, 0, UPD_ALL          \
	}
#define ANIMATION_TEX_CUT_INIT ANIMATION_FLASH_INIT

/* 25 frames in, 50 frames shown, 25 frames out, 25 frames hidden, for ever. */
#define ANIMATION_FADE_INIT                                                                        \
	{                                                                                              \
		ANIMATION_STRIP_INIT, ANIMATION_TEXTURES_INIT, 0, 25, 50, 25, 25, 0, false, 1, 0, UPD_ALL  \
	}

/* The same times. A soft disc opens from the centre, and closes onto it. */
#define ANIMATION_GRADUAL_INIT                                                                     \
	{                                                                                              \
		ANIMATION_STRIP_INIT, ANIMATION_TEXTURES_INIT, 0, 25, 50, 25, 25, 0, false, 1, 0,          \
		    GRAD_CENTER2EDGE, GRAD_EDGE2CENTER, UPD_ALL                                            \
	}

/* The same times. The picture floats into place and away. */
#define ANIMATION_SEQUENCE_INIT                                                                    \
	{                                                                                              \
		ANIMATION_STRIP_INIT, ANIMATION_TEXTURES_INIT, 0, 25, 50, 25, 25, 0, false,                \
		    SEQ_FLOATINOUT, SEQ_FLOATINOUT, UPD_ALL                                                \
	}

/* Both video types: no texture coordinates and no video frame yet. */
#define ANIMATION_VIDEO_INIT                                                                       \
	{                                                                                              \
		ANIMATION_STRIP_INIT, NULL, NULL, UPD_ALL                                                  \
	}

/* ---- Objects: any thread, between Init and DeInit ------------------------------------------ */

/*
 * Creates an object of the type from its record. Returns the object's id: the smallest id that is
 * free. It may be the id of an object that has just gone.
 *
 *     static float corners[] = {0, 576, 1152, 576, 0, 0, 1152, 0};
 *     Backgroud_animationpara map = ANIMATION_BACKGROUND_INIT;
 *
 *     map.in_position2d.coordnum = 4;
 *     map.in_position2d.position2d = corners;
 *     strcpy(map.textures.textures_name[0], "map.png"); // with an alpha channel
 *     map.textures.tex_num = 1;
 *     unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &map);
 *     if (id == ANIMATION_NO_OBJECT)
 *         return;
 *
 * The record and its coordinate arrays are copied. You may change or free them after the call. The
 * pixels of TEX_DATA and the textures of TEX_IDS are not copied. The call writes update of the
 * application's record, and bufinfo of a video record. The render thread reads the image files, in
 * the object's first frame. A file that does not load shows black.
 *
 * Returns ANIMATION_NO_OBJECT if the type does not exist, if memory runs out, or if no object can
 * be made of the record. The record is then left as it is. The reasons are:
 *
 *   - para is NULL.
 *   - coordnum is not 0, and position2d is NULL. The same with texcoord for a video, and with
 *     texPosition2d for a texture cut.
 *   - tex_num is above ANIMATION_MAX_TEXTURES. For a gradual display it is above
 *     ANIMATION_MAX_GRADUAL_TEXTURES.
 *   - mask_index or alpha_index is above ANIMATION_NO_TEXTURE.
 */
unsigned int CreateAnimationObj(AnimationType type, void *para);

/*
 * Replaces the object's whole record by a new one of the same type, with its arrays. The field
 * update says what the next frame rebuilds.
 *
 *     corners[0] = corners[4] = 300; // the left edge moves
 *     map.update = UPD_COORDS;       // the textures stay
 *     UpdateAnimationObj(id, &map);
 *
 * If two updates come between two frames, only the later one has an effect. UPD_MISC before the
 * object's first frame cancels the set-up, and the object shows nothing.
 *
 * For the loop types, the call writes the rest of the start delay into pre_frame of the
 * application's record. An unknown id is ignored, and so is a record that creation would refuse. If
 * memory runs out, the object draws nothing until an update with UPD_COORDS succeeds. It can still
 * be removed.
 */
void UpdateAnimationObj(unsigned int id, void *para);

/*
 * Requests the removal of an object. A second call replaces the mode. The render thread frees the
 * object at the end of a later frame. GetAnimationObjStatus returns ST_INVALID from then on, until
 * a new object gets the id.
 *
 *     RemoveAnimationObj(id, DEL_IMMEDIATELY);
 *     while (running && GetAnimationObjStatus(id) != ST_INVALID)
 *         usleep(10000);
 *     DeleteTexture(icon); // a texture that the object showed
 *
 * While a background exists, video objects stay on the list. An unknown id gives a rate-limited
 * report.
 */
void RemoveAnimationObj(unsigned int id, DeleteObjMode mode);

/* Returns the object's status bits, or ST_INVALID if there is no such object. */
AnimationStatus GetAnimationObjStatus(unsigned int id);

/* Returns true if the object exists and has that type. */
bool IsAnimationObjType(unsigned int id, AnimationType type);

/* Returns the object, or NULL. Hold g_mutex (<render/render.h>) from before this call until after
 * the last use of the pointer. */
AnimationObj *FindAnimationObj(unsigned int id);

/* Returns the smallest id that is not on the list. Hold g_mutex until you have used it, or another
 * thread may take it. */
unsigned int GenAnimationObjId(void);

/* For the Create functions: appends a node to the list. A node whose id is on the list already is
 * refused with a rate-limited report, and stays the caller's. The list owns all of an appended
 * node: the node, its record, its RenderObj and their arrays. They must be blocks of malloc() that
 * were zeroed first. */
void InsertAnimationObj(unsigned int id, AnimationObj *obj);

/* The first object of the list, or NULL. The list is in the order of creation. g_mutex guards
 * it. */
extern AnimationObj *animationItemHead;

/* ---- Objects: render thread ---------------------------------------------------------------- */

/* Runs one frame of an object: fills its RenderObj and binds its textures. data is the window. */
void GenAnimationFrame(unsigned int id, void *data);

/* Frees an object and its GL objects. */
void RemoveAnimationObjReal(unsigned int id);

/* Returns a number from 0 to range - 1. The series of numbers is the same in every run and begins
 * again after 2^32 calls. Each call sets the seed of the C library's rand(). range must not be 0.
 */
unsigned int getrand(unsigned int range);

/* ---- The functions of each type ------------------------------------------------------------ */

/* CreateAnimationObj, UpdateAnimationObj and GenAnimationFrame call these. Create... and Update...
 * run on any thread, Gen... runs on the render thread. */
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

/*
 * A texture handle is a GL texture that the application makes ahead of time, for TEX_IDS.
 *
 *     GLuint icon = CreateTextureByPng("icon.png");
 *     if (icon != ANIMATION_NO_HANDLE) {
 *         lamp.textures.mode = TEX_IDS;
 *         lamp.textures.texids[0] = icon;
 *         lamp.textures.tex_num = 1;
 *         id = CreateAnimationObj(ANI_FLASH, &lamp);
 *     }
 *
 * The application owns a handle until DeleteTexture. Delete it only after all objects that show it
 * have gone. A call reads its file first. It then waits for the end of the present frame, and the
 * next frame waits for its GL calls. The calls do not flush GL.
 */

/* Makes a texture from pixels and reads them during the call. width and height are in pixels,
 * textureType is as in TextureData. A type that is refused is reported. The handle then has no
 * pixels, and neither has one whose size GL refuses. Returns 0 on a thread without a context. */
GLuint CreateTexture(int width, int height, int textureType, const void *data);

/* CreateTextureByName makes a texture from a BMP file, CreateTextureByPng from a PNG file. The
 * loaders below tell which files they accept. Both return ANIMATION_NO_HANDLE on failure, after the
 * loader's report if there is one, and leave nothing behind. */
GLuint CreateTextureByName(const char *tex_fname);
GLuint CreateTextureByPng(const char *tex_fname);

/* Deletes a handle. Ignores 0 and unknown names. */
void DeleteTexture(GLuint tex);

/* Any thread. Cuts the rectangle (destx, desty, destwidth, destheight) out of an image of 4 bytes a
 * pixel. The rectangle must lie inside the image. srcstride is the length of a source row in bytes;
 * 0 stands for srcswidth * 4. srcheight is not used. Returns a block without gaps between the rows,
 * which the caller frees with free(). Returns NULL if memory runs out or the size overflows. */
unsigned char *TextureTailor(uint32_t srcswidth, uint32_t srcheight, uint32_t srcstride,
    uint32_t destx, uint32_t desty, uint32_t destwidth, uint32_t destheight,
    const unsigned char *src);

/* ---- Image loaders: a thread with a current GL context -------------------------------------- */

/*
 * The loaders put pixels into the texture that is bound to GL_TEXTURE_2D on the active texture
 * unit. They do not bind tex. They return 0 on success and a negative number on failure. After a
 * failure the texture is as it was before. Every failure is reported, with two exceptions: an
 * opaque PNG file, and a PNG decoder without memory.
 *
 * A file may hold anything. The loaders return -1 for a file that is not regular, a file that is
 * too short, a size that is not positive, and a size above GL's largest texture. A BMP file with
 * its top row first has a negative height, so it is refused too.
 */

/* From memory. Reads data during the call. -1: unknown type. If GL refuses the size, the result is
 * 0 and the texture is as it was before. */
int load_texture(GLuint tex, int width, int height, int textureType, const void *data);

/* From a file that holds pixels from byte offset on. The type is GL_RGB or GL_BGRA_EXT. */
int load_texture_from_raw_file(
    GLuint tex, int width, int height, int textureType, const char *filename, int offset);

/* From a BMP file of 32 or 24 bits a pixel. A file of 24 bits shows red and blue exchanged, because
 * its bytes go to GL_RGB as they are. Its width must be a multiple of 4, or the image is skewed. */
int load_texture_bmp(GLuint tex, const char *filename);

/* From a PNG file with an alpha channel or a transparent colour, of at most 2304 x 2304 pixels.
 * Fails with -2 if the signature cannot be read, with -3 if it is no PNG file, with -4 if there is
 * no memory for the pixels, else with -1. An opaque PNG file gives -1. All that a file holds beside
 * its pixels is skipped: a load needs the memory of the pixels twice, GL's copy included, and a few
 * megabytes. */
int load_texture_png(GLuint tex, const char *filename);

/* ---- Coordinates: pure functions, any thread ------------------------------------------------ */

/* Converts coordnum pairs (x, y) in viewport pixels to coordnum triples in model space. There x
 * runs from -2 at the left to 2, y from 1 at the top to -1, and z is -1. */
void Convert2DTo3DPosition(const float *position2d, float *position3d, uint32_t coordnum);

/* Writes texture coordinates for a strip of rows of two. u is 0 and 1 in each row. With binversed,
 * v runs from 0 in the first row to 1 in the last, else from 1 to 0. A strip of one row gets the v
 * of the first row. */
void GenTextureCoord(float *texcoord, uint32_t count, bool binversed);

/* Copies count pairs from src and limits each value to 0..1. binversed has no effect. */
void GenTextureCoord_cut(float *texcoord, const float *src, uint32_t count, bool binversed);

/* Spreads the window x1..x2, y1..y2 over a strip: x1 on even vertices, y1 on the first row. */
void GenTextureCoord_GRAD(float *texcoord, uint32_t count, float x1, float y1, float x2, float y2);

/* Shifts, scales and rotates the quad of the first four vertices, and converts it to model space.
 * The shifts are in widths and heights of the quad. The rotation is in degrees, counter-clockwise,
 * about the quad's centre. position2d must hold at least four vertices. The vertices after the
 * fourth are converted without motion. */
void Gen3DPosition(const float *position2d, float *position3d, uint32_t coordnum, float angle,
    float hshift_factor, float vshift_factor, float scale_factor);

/* ---- EGL extension entry points ------------------------------------------------------------ */

/* GetProcAddress (<render/render.h>) sets these. They are NULL before, and where EGL does not have
 * the function. Do not write them. */
extern PFNEGLCREATEIMAGEKHRPROC f_eglCreateImageKHR;
extern PFNGLEGLIMAGETARGETTEXTURE2DOESPROC f_glEGLImageTargetTexture2DOES;
extern PFNEGLDESTROYIMAGEKHRPROC f_eglDestroyImageKHR;

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
