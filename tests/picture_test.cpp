/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <QHash>

#include "HeldClock.hpp"
#include "Host.hpp"

#include <dlfcn.h>

using namespace Qt::StringLiterals;

// The filter that holds the last picture, while the test plays libobs's graphics: a texture is the width of the picture
// that was drawn into it, 0 if that has gone meanwhile.
static obs_source_info filterInfo;
static Media *shownMedia = nullptr;
static bool losesPicture = false;
static QHash<const gs_texrender_t *, uint32_t> textures;
static const gs_texrender_t *drawnInto = nullptr;
static QString lastDrawn;
static gs_color_space sourceSpace, canvasSpace;
static bool isLinear;

void obs_register_source_s(const obs_source_info *info, size_t size)
{
	static const auto next =
		reinterpret_cast<decltype(&obs_register_source_s)>(dlsym(RTLD_NEXT, "obs_register_source_s"));
	if (info->type == OBS_SOURCE_TYPE_FILTER)
		filterInfo = *info;
	next(info, size);
}

gs_color_space obs_source_get_color_space(obs_source_t *, size_t, const gs_color_space *)
{
	return sourceSpace;
}

bool gs_get_linear_srgb(void)
{
	return isLinear;
}

bool gs_set_linear_srgb(bool linear)
{
	return std::exchange(isLinear, linear);
}

gs_color_space gs_get_color_space(void)
{
	return canvasSpace;
}

bool gs_effect_loop(gs_effect_t *, const char *technique)
{
	lastDrawn += QString::fromLatin1(technique).remove(u"Draw"_s);
	return false;
}

void gs_effect_set_texture_srgb(gs_eparam_t *, gs_texture_t *)
{
	lastDrawn += u'*';
}

bool gs_texrender_begin_with_color_space(gs_texrender_t *texture, uint32_t width, uint32_t height, gs_color_space space)
{
	EXPECT_TRUE(height == width / 2 && gs_texrender_get_format(texture) == gs_get_format_from_space(space));
	textures[drawnInto = texture] = width;
	return true;
}

void obs_source_skip_video_filter(obs_source_t *)
{
	lastDrawn = u"itself"_s;
	if (std::exchange(losesPicture, false))
		textures[drawnInto] = shownMedia->width = 0;
}

gs_texture_t *gs_texrender_get_texture(const gs_texrender_t *texture)
{
	lastDrawn = QString::number(textures[texture]);
	return nullptr;
}

// A number is the width of the source's own picture from then on. A frame ticks and draws, an unseen one only ticks, and
// a losing one loses the source's picture while it draws. "from" and "to" give source and canvas a color space. Each
// answers with the width that OBS sees, and the drawn one with its technique, * for a texture of sRGB. A "linear" row draws
// linear values.
TEST_F(Host, APictureIsHeldForTwoSecondsWhereTheDockAllowsIt)
{
	const std::pair<const char *, const char *> rows[] = {
		{"640 frame 0 frame", "640 640:640 0 0:itself"},
		{"yes 640 frame 0 frame +1999 frame +1 frame", "0 640 640:640 640 640:640 640 640:640 640 0:itself"},
		{"yes 640 frame 0 frame +2000 frame 320 frame 0 frame",
		 "0 640 640:640 640 640:640 640 0:itself 320 320:320 320 320:320"},
		{"yes 640 frame 0 no yes frame", "0 640 640:640 640 0 0 0:itself"},
		{"yes 640 frame unseen unseen 0", "0 640 640:640 640 640 0"},
		{"yes 640 frame losing frame", "0 640 640:640 640:640 640:640"},
		{"640 frame losing", "640 640:640 0:itself"},
		{"linear 640 frame", "0:itself 640 640:640*NonlinearAlpha"},
		{"to1 640 frame to3 frame", "0 640 640:640*NonlinearAlpha 640 640:640*NonlinearAlphaMultiply"},
		{"from1 640 frame to3 frame", "0 640 640:640* 640 640:640*Multiply"},
		{"from2 640 frame to2 frame", "0 640 640:640*Tonemap 640 640:640*"},
		{"yes from2 640 frame from0 space 0 no space", "0 0 640 640:640*Tonemap 640 640:2 640 0 0:0"},
	};
	const OBSSource source = makeSource(u"S"_s, {});
	show(source);
	shownMedia = &media(source);
	for (const auto &[steps, expected] : rows) {
		action("holdPicture")->trigger();
		child<QComboBox>("sourceSelector")->setCurrentIndex(0); // so that no poll allows or forbids anything
		OBSSourceAutoRelease filter = obs_source_get_filter_by_name(source, "Hold Picture Between Tracks");
		sourceSpace = canvasSpace = GS_CS_SRGB;
		isLinear = steps[0] == 'l';
		QStringList answers;
		for (const QString &step : QString::fromLatin1(steps).split(u' ')) {
			lastDrawn.clear();
			if (step.startsWith(u'+')) {
				HeldClock::pass(step.toInt());
			} else if (step == u"yes" || step == u"no") {
				calldata_t params = {};
				calldata_set_bool(&params, "allowed", step == u"yes");
				proc_handler_call(obs_source_get_proc_handler(filter), "allow_hold", &params);
				calldata_free(&params);
			} else if (step.startsWith(u"from") || step.startsWith(u"to")) {
				(step[0] == u'f' ? sourceSpace : canvasSpace) =
					gs_color_space(step.back().digitValue());
			} else if (step == u"space") {
				const gs_color_space all[] = {GS_CS_SRGB, GS_CS_709_EXTENDED};
				lastDrawn = QString::number(
					filterInfo.video_get_color_space(obs_obj_get_data(filter), 2, all));
			} else if (step[0].isDigit()) {
				shownMedia->width = step.toUInt();
			} else {
				losesPicture = step == u"losing";
				filterInfo.video_tick(obs_obj_get_data(filter), 0);
				if (step != u"unseen")
					filterInfo.video_render(obs_obj_get_data(filter), nullptr);
			}
			EXPECT_EQ(isLinear, steps[0] == 'l') << "as for what is drawn next";
			EXPECT_EQ(obs_source_get_height(source), obs_source_get_width(source) / 2);
			answers += QString::number(obs_source_get_width(source)) +
				   (lastDrawn.isEmpty() ? QString() : u':' + lastDrawn);
		}
		EXPECT_EQ(answers.join(u' ').toStdString(), expected) << steps;
		shownMedia->width = 0;
		choose(source);
		action("holdPicture")->trigger();
	}
}
