#include <animation/video_steps.h>

unsigned int CreateVideoGSTAnimation(VideoGST_animationpara *para)
{
	return create_video(ANI_VIDEO_GST, para, UPD_ALL, RENDER_VIDEO_DMAFD);
}

void UpdateVideoGSTAnimation(unsigned int id, VideoGST_animationpara *para)
{
	replace_record(id, para);
}

namespace
{

constexpr EGLint kFourccNv12 = 0x3231564E;

bool can_import()
{
	return f_eglCreateImageKHR && f_eglDestroyImageKHR && f_glEGLImageTargetTexture2DOES;
}

/* Both planes lie behind one descriptor, at offset 0: the driver knows its decoder's layout. */
EGLImageKHR import_image(const BufferInfoGST &bufinfo)
{
	auto width = static_cast<EGLint>(bufinfo.width);
	auto fd = static_cast<EGLint>(bufinfo.fd);
	/* clang-format off */
	const EGLint attr[] = {
		EGL_LINUX_DRM_FOURCC_EXT, kFourccNv12,
		EGL_WIDTH, width,
		EGL_HEIGHT, static_cast<EGLint>(bufinfo.height),
		EGL_DMA_BUF_PLANE0_PITCH_EXT, width,
		EGL_DMA_BUF_PLANE1_PITCH_EXT, width,
		EGL_DMA_BUF_PLANE0_OFFSET_EXT, 0,
		EGL_DMA_BUF_PLANE1_OFFSET_EXT, 0,
		EGL_DMA_BUF_PLANE0_FD_EXT, fd,
		EGL_DMA_BUF_PLANE1_FD_EXT, fd,
		EGL_NONE,
	};
	/* clang-format on */
	return f_eglCreateImageKHR(
	    eglGetCurrentDisplay(), EGL_NO_CONTEXT, EGL_LINUX_DMA_BUF_EXT, nullptr, attr);
}

/* Texture coordinates address the cropped image; the texture holds the whole picture. */
void crop(RenderObj &renderobj, const VideoGST_animationpara &para)
{
	const CropRect &rect = para.bufinfo->crop;
	auto width = static_cast<float>(para.bufinfo->width);
	auto height = static_cast<float>(para.bufinfo->height);
	float x0 = static_cast<float>(rect.xstart) / width;
	float y0 = static_cast<float>(rect.ystart) / height;
	float x1 = static_cast<float>(rect.xstart + rect.active_width) / width;
	float y1 = static_cast<float>(rect.ystart + rect.active_heght) / height;

	float *coordinates = renderobj.texturecoord0;
	uint32_t coordnum = copy_texcoord(renderobj, coordinates, para);
	for (uint32_t coordindex = 0; coordindex < coordnum; coordindex++) {
		float &u = coordinates[2 * coordindex];
		float &v = coordinates[2 * coordindex + 1];
		u = u * (x1 - x0) + x0;
		v = v * (y1 - y0) + y0;
	}
}

void import_frame(RenderObj &renderobj, const VideoGST_animationpara &para)
{
	delete_textures(renderobj);
	glActiveTexture(GL_TEXTURE0);
	glGenTextures(1, renderobj.textures);
	if (renderobj.imagekhr)
		f_eglDestroyImageKHR(eglGetCurrentDisplay(), renderobj.imagekhr);
	renderobj.imagekhr = import_image(*para.bufinfo);

	glEnable(GL_TEXTURE_EXTERNAL_OES);
	glBindTexture(GL_TEXTURE_EXTERNAL_OES, renderobj.textures[0]);
	glTexParameteri(GL_TEXTURE_EXTERNAL_OES, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
	glTexParameteri(GL_TEXTURE_EXTERNAL_OES, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
	glTexParameterf(GL_TEXTURE_EXTERNAL_OES, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
	glTexParameterf(GL_TEXTURE_EXTERNAL_OES, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
	f_glEGLImageTargetTexture2DOES(GL_TEXTURE_EXTERNAL_OES, renderobj.imagekhr);
	renderobj.tex_num = 1;
	crop(renderobj, para);
}

/* The image of the frame before goes with the next import, or with the object. */
void show_nothing(RenderObj &renderobj)
{
	delete_textures(renderobj);
	renderobj.textures[0] = 0;
}

void take_picture(RenderObj &renderobj, const VideoGST_animationpara &para)
{
	if (para.bufinfo && can_import())
		import_frame(renderobj, para);
	else
		show_nothing(renderobj);
}

} // namespace

void GenVideoGSTAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	auto &para = para_of<VideoGST_animationpara>(*obj);
	RenderObj &renderobj = *obj->renderobj;

	if (has_status(*obj, ST_PENDINGDESTROY)) {
		mark_finished(*obj);
		return;
	}
	set_up_video(*obj, para, UPD_ALL, 1, take_picture);

	glEnable(GL_TEXTURE_EXTERNAL_OES);
	glActiveTexture(GL_TEXTURE0);
	glBindTexture(GL_TEXTURE_EXTERNAL_OES, renderobj.textures[0]);
	set_status(*obj, ST_SHOW);
	obj->curframeno = obj->curframeno + 1;
}
