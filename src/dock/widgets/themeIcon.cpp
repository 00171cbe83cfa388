/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/themeIcon.hpp"

#include <QHash>
#include <QStyle>

#include <obs-config.h>

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

constexpr char classProperty[] = "class";

// Themes of OBS 30 select icons by another property and other names.
#if LIBOBS_API_VER < MAKE_SEMANTIC_VERSION(31, 0, 0)
QString themeIdOf(const QString &iconClass)
{
	static const QHash<QString, QString> ids = {
		{u"icon-plus"_s, u"addIconSmall"_s},       {u"icon-refresh"_s, u"refreshIconSmall"_s},
		{u"icon-media-prev"_s, u"previousIcon"_s}, {u"icon-media-play"_s, u"playIcon"_s},
		{u"icon-media-pause"_s, u"pauseIcon"_s},   {u"icon-media-stop"_s, u"stopIcon"_s},
		{u"icon-media-next"_s, u"nextIcon"_s},
	};
	return ids.value(iconClass);
}
#endif

} // namespace

void setIconClass(QToolButton *button, const QString &iconClass)
{
	button->setProperty(classProperty, iconClass);
#if LIBOBS_API_VER < MAKE_SEMANTIC_VERSION(31, 0, 0)
	button->setProperty("themeID", themeIdOf(iconClass));
#endif
}

void changeIconClass(QToolButton *button, const QString &iconClass)
{
	if (button->property(classProperty).toString() == iconClass)
		return;
	setIconClass(button, iconClass);
	button->style()->unpolish(button);
	button->style()->polish(button);
	button->update();
}

} // namespace reelhouse
