/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "picture/HoldPicture.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <utility>

#include <obs-module.h>
#include <util/platform.h>

namespace reelhouse {

namespace {

constexpr char filterId[] = "reelhouse_hold_picture";
constexpr char allowProc[] = "allow_hold";
constexpr uint64_t longestHoldNs = 2'000'000'000;

// Width and height in one value, so that a thread never reads the width of one picture and the height of another.
struct Size {
	uint32_t width = 0;
	uint32_t height = 0;

	bool isEmpty() const { return width == 0 || height == 0; }
	bool operator==(const Size &) const = default;
};

// The filter of one source. Its source loses its picture on a thread of VLC, at any moment. libobs ticks and draws on the
// graphics thread, and asks for the size on several threads, with the filter mutex of the parent locked.
class HoldPicture {
public:
	explicit HoldPicture(obs_source_t *filter);
	HoldPicture(const HoldPicture &) = delete;
	~HoldPicture();

	void allow(bool allows);
	Size size() const;
	void tick();
	void draw();
	gs_color_space colorSpace(size_t count, const gs_color_space *preferred) const;

private:
	struct Picture {
		gs_texrender_t *texture = nullptr;
		gs_color_space space = GS_CS_SRGB;
	};

	Size targetSize() const;
	void capture(Size size);
	void drawKept() const;

	obs_source_t *const filter;          // owns this object
	Picture kept;                        // the graphics thread alone uses these five
	Picture next;                        // the target is drawn into this, which then becomes the kept one
	bool captured = false;               // since the last tick
	bool hadPicture = false;             // the target had a picture at the last tick
	uint64_t emptySince = 0;             // the first tick without a picture, in nanoseconds; 0: the target has one
	std::atomic<Size> keptSize = Size(); // empty: no picture is kept
	std::atomic<bool> allowed = false;
};

HoldPicture::HoldPicture(obs_source_t *filter_) : filter(filter_)
{
	proc_handler_add(
		obs_source_get_proc_handler(filter), "void allow_hold(in bool allowed)",
		[](void *data, calldata_t *params) {
			static_cast<HoldPicture *>(data)->allow(calldata_bool(params, "allowed"));
		},
		this);
}

HoldPicture::~HoldPicture()
{
	obs_enter_graphics();
	gs_texrender_destroy(kept.texture);
	gs_texrender_destroy(next.texture);
	obs_leave_graphics();
}

void HoldPicture::allow(bool allows)
{
	allowed = allows;
	if (!allows)
		keptSize = Size();
}

// obs_source_get_width() of the parent would ask this filter again.
Size HoldPicture::targetSize() const
{
	obs_source_t *target = obs_filter_get_target(filter);
	if (!target)
		return {};
	return {obs_source_get_base_width(target), obs_source_get_base_height(target)};
}

Size HoldPicture::size() const
{
	const Size own = targetSize();
	return own.isEmpty() && allowed ? keptSize.load() : own;
}

void HoldPicture::tick()
{
	const bool hasPicture = !targetSize().isEmpty();
	const uint64_t now = os_gettime_ns();
	if (hasPicture)
		emptySince = 0;
	else if (emptySince == 0)
		emptySince = now;
	// A picture that nobody has drawn since the source showed newer ones is old.
	const bool isOld = hasPicture && hadPicture && !captured;
	if (isOld || (!hasPicture && (!allowed || now - emptySince >= longestHoldNs)))
		keptSize = Size();
	hadPicture = hasPicture;
	captured = false;
}

void HoldPicture::draw()
{
	if (!obs_filter_get_target(filter) || !obs_filter_get_parent(filter))
		return;
	const Size own = targetSize();
	if (!own.isEmpty() && !captured)
		capture(own);
	// Do not draw a target without a picture: a source that deinterlaces would draw its old textures.
	if ((captured || allowed) && !keptSize.load().isEmpty())
		drawKept();
	else
		obs_source_skip_video_filter(filter);
}

void HoldPicture::capture(Size size)
{
	obs_source_t *target = obs_filter_get_target(filter);
	const gs_color_space spaces[] = {GS_CS_SRGB, GS_CS_SRGB_16F, GS_CS_709_EXTENDED};
	next.space = obs_source_get_color_space(target, std::size(spaces), spaces);
	const gs_color_format format = gs_get_format_from_space(next.space);
	if (next.texture && gs_texrender_get_format(next.texture) != format) {
		gs_texrender_destroy(next.texture);
		next.texture = nullptr;
	}
	if (!next.texture)
		next.texture = gs_texrender_create(format, GS_ZS_NONE);
	gs_texrender_reset(next.texture);
	if (!gs_texrender_begin_with_color_space(next.texture, size.width, size.height, next.space))
		return;
	// Copy the values as they are. libobs deinterlaces linear values or others, as its caller wants.
	const bool linear = gs_get_linear_srgb();
	gs_set_linear_srgb(linear && obs_source_get_deinterlace_mode(obs_filter_get_parent(filter)));
	gs_blend_state_push();
	gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
	const vec4 nothing = {};
	gs_clear(GS_CLEAR_COLOR, &nothing, 0, 0);
	gs_ortho(0, static_cast<float>(size.width), 0, static_cast<float>(size.height), -100, 100);
	obs_source_skip_video_filter(filter);
	gs_blend_state_pop();
	gs_set_linear_srgb(linear);
	gs_texrender_end(next.texture);
	// The target may have lost its picture meanwhile, and then nothing has been drawn.
	if (targetSize() != size)
		return;
	std::swap(kept, next);
	keptSize = size;
	captured = true;
}

// As libobs itself draws the picture of a source.
void HoldPicture::drawKept() const
{
	gs_texture_t *texture = gs_texrender_get_texture(kept.texture);
	const gs_color_space current = gs_get_color_space();
	const bool isSrgb = kept.space == GS_CS_SRGB;
	const bool linear = !isSrgb || current != GS_CS_SRGB || gs_get_linear_srgb();
	const bool toWhiteLevel = current == GS_CS_709_SCRGB;
	const char *technique = "Draw";
	if (linear && isSrgb)
		technique = toWhiteLevel ? "DrawNonlinearAlphaMultiply" : "DrawNonlinearAlpha";
	else if (toWhiteLevel)
		technique = "DrawMultiply";
	else if (kept.space == GS_CS_709_EXTENDED && current != GS_CS_709_EXTENDED)
		technique = "DrawTonemap";

	gs_effect_t *effect = obs_get_base_effect(OBS_EFFECT_DEFAULT);
	gs_eparam_t *image = gs_effect_get_param_by_name(effect, "image");
	gs_effect_set_float(gs_effect_get_param_by_name(effect, "multiplier"),
			    toWhiteLevel ? obs_get_video_sdr_white_level() / 80 : 1);
	if (linear)
		gs_effect_set_texture_srgb(image, texture);
	else
		gs_effect_set_texture(image, texture);
	const bool previous = gs_framebuffer_srgb_enabled();
	gs_enable_framebuffer_srgb(linear);
	gs_blend_state_push();
	if (linear && isSrgb)
		gs_blend_function(GS_BLEND_ONE, GS_BLEND_INVSRCALPHA);
	while (gs_effect_loop(effect, technique))
		gs_draw_sprite(texture, 0, 0, 0);
	gs_blend_state_pop();
	gs_enable_framebuffer_srgb(previous);
}

gs_color_space HoldPicture::colorSpace(size_t count, const gs_color_space *preferred) const
{
	const gs_color_space *match = std::find(preferred, preferred + count, kept.space);
	if (!keptSize.load().isEmpty() && match != preferred + count)
		return kept.space;
	obs_source_t *target = obs_filter_get_target(filter);
	return target ? obs_source_get_color_space(target, count, preferred) : GS_CS_SRGB;
}

HoldPicture *toFilter(void *data)
{
	return static_cast<HoldPicture *>(data);
}

bool isHoldPicture(obs_source_t *filter)
{
	const char *id = obs_source_get_id(filter);
	return id && std::strcmp(id, filterId) == 0;
}

void callAllow(obs_source_t *, obs_source_t *filter, void *allowed)
{
	if (!isHoldPicture(filter))
		return;
	calldata_t params = {};
	calldata_set_bool(&params, "allowed", *static_cast<bool *>(allowed));
	proc_handler_call(obs_source_get_proc_handler(filter), allowProc, &params);
	calldata_free(&params);
}

OBSSourceAutoRelease findFilter(obs_source_t *source)
{
	obs_source_t *found = nullptr;
	obs_source_enum_filters(
		source,
		[](obs_source_t *, obs_source_t *filter, void *result) {
			auto **one = static_cast<obs_source_t **>(result);
			if (!*one && isHoldPicture(filter))
				*one = obs_source_get_ref(filter);
		},
		&found);
	return found;
}

} // namespace

void registerHoldPicture()
{
	obs_source_info info = {};
	info.id = filterId;
	info.type = OBS_SOURCE_TYPE_FILTER;
	// The Filters dialog lists the filter, but does not offer it: only the dock can say when a hold may begin.
	info.output_flags = OBS_SOURCE_VIDEO | OBS_SOURCE_SRGB | OBS_SOURCE_CAP_DISABLED;
	info.get_name = [](void *) {
		return obs_module_text("HoldPicture");
	};
	info.create = [](obs_data_t *, obs_source_t *filter) -> void * {
		return new HoldPicture(filter);
	};
	info.destroy = [](void *data) {
		delete toFilter(data);
	};
	info.get_width = [](void *data) {
		return toFilter(data)->size().width;
	};
	info.get_height = [](void *data) {
		return toFilter(data)->size().height;
	};
	info.video_tick = [](void *data, float) {
		toFilter(data)->tick();
	};
	info.video_render = [](void *data, gs_effect_t *) {
		toFilter(data)->draw();
	};
	info.video_get_color_space = [](void *data, size_t count, const gs_color_space *preferred) {
		return toFilter(data)->colorSpace(count, preferred);
	};
	obs_register_source(&info);
}

bool holdsPicture(obs_source_t *source)
{
	return findFilter(source) != nullptr;
}

void setHoldsPicture(obs_source_t *source, bool holds)
{
	OBSSourceAutoRelease filter = findFilter(source);
	if (holds == (filter != nullptr))
		return;
	if (!holds) {
		// A filter that was copied may be there twice.
		for (; filter; filter = findFilter(source))
			obs_source_filter_remove(source, filter);
		return;
	}
	filter = obs_source_create_private(filterId, obs_module_text("HoldPicture"), nullptr);
	obs_source_filter_add(source, filter);
	// Added filters are the outermost ones. Nearest to the source, this one needs no effect of another filter.
	obs_source_filter_set_order(source, filter, OBS_ORDER_MOVE_TOP);
}

void allowHeldPicture(obs_source_t *source, bool allowed)
{
	obs_source_enum_filters(source, callAllow, &allowed);
}

} // namespace reelhouse
