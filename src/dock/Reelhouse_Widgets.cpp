/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QAction>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QShortcut>

#include <algorithm>

#include "dock/widgets/DropGuard.hpp"
#include "dock/widgets/KeyClaim.hpp"
#include "dock/widgets/MessageLabel.hpp"
#include "dock/widgets/SeekSlider.hpp"
#include "dock/widgets/Selector.hpp"
#include "dock/widgets/TimeLabel.hpp"
#include "dock/widgets/TrackDelegate.hpp"
#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "dock/widgets/themeIcon.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// Sizes in device-independent pixels.
constexpr int gap = 4;
constexpr int rowHeight = 26;
constexpr int timeGap = 4;
constexpr QSize transportButtonSize(22, 22);
constexpr QSize transportIconSize(14, 14);

// OBS's themes give selectors and fields vertical margins, which cut off the text at this row height.
constexpr QLatin1String selectorStyle("QComboBox { margin-top: 0; margin-bottom: 0; }");
constexpr QLatin1String fieldStyle("QLineEdit { margin-top: 0; margin-bottom: 0; }");

QToolButton *makeToolButton(QWidget *parent, const QString &name, const char *textKey, const QString &iconClass)
{
	auto *button = new QToolButton(parent);
	button->setObjectName(name);
	setIconClass(button, iconClass);
	button->setAccessibleName(ui(textKey));
	button->setIconSize(QSize(16, 16));
	button->setToolButtonStyle(Qt::ToolButtonIconOnly);
	button->setAutoRaise(true);
	button->setFixedSize(rowHeight, rowHeight);
	return button;
}

QToolButton *makeTransportButton(QWidget *parent, const QString &name, const char *textKey, const QString &iconClass)
{
	QToolButton *button = makeToolButton(parent, name, textKey, iconClass);
	button->setIconSize(transportIconSize);
	button->setFixedSize(transportButtonSize);
	return button;
}

// For an action that the list also triggers by this key.
void addToList(QListWidget *list, QAction *action, const QKeySequence &key)
{
	action->setShortcut(key);
	action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
	action->setAutoRepeat(false);
	list->addAction(action);
}

// OBS's main window uses these two keys for Redo on every platform.
QList<QKeySequence> redoKeys()
{
	return QKeySequence::keyBindings(QKeySequence::Redo) +
	       QList<QKeySequence>{{Qt::CTRL | Qt::SHIFT | Qt::Key_Z}, {Qt::CTRL | Qt::Key_Y}};
}

QShortcut *makeShortcut(QWidget *parent, const QKeySequence &key)
{
	auto *shortcut = new QShortcut(key, parent);
	shortcut->setAutoRepeat(false);
	shortcut->setContext(Qt::WidgetWithChildrenShortcut);
	return shortcut;
}

} // namespace

void Reelhouse::buildUi()
{
	setMinimumSize(360, 110);
	resize(920, 200);
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(gap, gap, gap, gap);
	layout->setSpacing(gap);

	buildTopGrid();
	layout->addLayout(topGrid, 0);
	buildList();
	layout->addWidget(playlistWidget, 1);
	layout->addLayout(buildTransportRow(), 0);
	buildMenu();
	makeShortcuts();
	new DropGuard(this);
	connectSignals();

	setTabOrder({addFilesButton, sourceSelector, findChild<QToolButton *>(u"refresh"_s), searchEdit, playlistWidget,
		     previousButton, playPauseButton, stopButton, nextButton, seekSlider, timeLabel, endModeSelector});
	// The event filter and the message label show tooltips of their own.
	for (QWidget *child : findChildren<QWidget *>())
		child->setToolTip(QString());
}

void Reelhouse::buildTopGrid()
{
	topGrid = new QGridLayout;
	topGrid->setSpacing(gap);
	topGrid->setColumnStretch(0, 2);
	topGrid->setColumnStretch(1, 1);

	sourceRow = new QWidget(this);
	auto *row = new QHBoxLayout(sourceRow);
	row->setContentsMargins(0, 0, 0, 0);
	row->setSpacing(gap);

	trackCountLabel = new QLabel(ui("TrackCount").arg(0), this);
	trackCountLabel->setObjectName(u"trackCount"_s);
	trackCountLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
	// Do not set the tooltip property: it would have to follow the time.
	trackCountLabel->installEventFilter(this);

	searchEdit = new QLineEdit(this);
	searchEdit->setObjectName(u"search"_s);
	searchEdit->setPlaceholderText(ui("SearchPlaceholder"));
	searchEdit->setAccessibleName(ui("SearchPlaceholder"));
	searchEdit->setClearButtonEnabled(true);
	searchEdit->setFixedHeight(rowHeight);
	searchEdit->setStyleSheet(fieldStyle);

	addFilesButton = makeToolButton(this, u"addFiles"_s, "AddFiles", u"icon-plus"_s);

	sourceSelector = new Selector(this);
	sourceSelector->setObjectName(u"sourceSelector"_s);
	sourceSelector->setAccessibleName(ui("SelectSource"));
	// Qt on Linux gives assistive technology a selector's value in place of its name, so selectors have a
	// description.
	sourceSelector->setAccessibleDescription(ui("SourceSelectorDescription"));
	sourceSelector->addItem(ui("SelectSource"), QString());
	sourceSelector->setMinimumContentsLength(8);
	sourceSelector->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
	sourceSelector->setFixedHeight(rowHeight);
	sourceSelector->setStyleSheet(selectorStyle);

	row->addWidget(addFilesButton, 0);
	row->addWidget(sourceSelector, 1);
	row->addWidget(makeToolButton(this, u"refresh"_s, "Refresh", u"icon-refresh"_s), 0);
	placeTopGrid();
}

// A wide dock has one row here. In a narrow dock the source takes the first row alone.
void Reelhouse::placeTopGrid()
{
	if (narrowLayout) {
		topGrid->addWidget(sourceRow, 0, 0, 1, 3);
		topGrid->addWidget(searchEdit, 1, 0, 1, 2);
		topGrid->addWidget(trackCountLabel, 1, 2);
	} else {
		topGrid->addWidget(sourceRow, 0, 0, 1, 1);
		topGrid->addWidget(searchEdit, 0, 1, 1, 1);
		topGrid->addWidget(trackCountLabel, 0, 2);
	}
}

void Reelhouse::buildList()
{
	playlistWidget = new TrackListWidget(this);
	playlistWidget->setObjectName(u"playlist"_s);
	// Set no accessible name: for item views Qt uses the name as the accessible id, too, and tools could no longer
	// find the list by its object name.
	playlistWidget->setAccessibleDescription(ui("PlaylistDescription"));
	playlistWidget->setItemDelegate(new TrackDelegate(playlistWidget));
	playlistWidget->setSelectionMode(QAbstractItemView::ExtendedSelection);
	playlistWidget->setDragDropMode(QAbstractItemView::InternalMove);
	playlistWidget->setDefaultDropAction(Qt::MoveAction);
	playlistWidget->setUniformItemSizes(true);
	playlistWidget->setSpacing(0);
	// In the smallest dock the list shrinks, so that the controls above and below it stay whole.
	playlistWidget->setMinimumHeight(1);
	playlistWidget->setContextMenuPolicy(Qt::CustomContextMenu);
	playlistWidget->installEventFilter(this);
	playlistWidget->viewport()->installEventFilter(this);
	searchEdit->installEventFilter(this);
}

QLayout *Reelhouse::buildTransportRow()
{
	messageLabel = new MessageLabel(this);
	messageLabel->setObjectName(u"message"_s);
	messageLabel->setTextFormat(Qt::PlainText);
	messageLabel->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
	messageLabel->setMinimumWidth(0);
	messageLabel->setMaximumWidth(160);
	messageLabel->hide();

	previousButton = makeTransportButton(this, u"previous"_s, "Previous", u"icon-media-prev"_s);
	playPauseButton = makeTransportButton(this, u"playPause"_s, "PlaySelected", u"icon-media-play"_s);
	stopButton = makeTransportButton(this, u"stop"_s, "Stop", u"icon-media-stop"_s);
	nextButton = makeTransportButton(this, u"next"_s, "Next", u"icon-media-next"_s);

	seekSlider = new SeekSlider(this);
	seekSlider->setObjectName(u"seek"_s);
	seekSlider->setAccessibleName(ui("ElapsedTime"));
	seekSlider->setRange(0, 1000);
	seekSlider->setSingleStep(10);
	seekSlider->setPageStep(100);
	seekSlider->setMinimumWidth(80);

	timeLabel = new TimeLabel(u"0:00"_s, this);
	timeLabel->setObjectName(u"playbackTime"_s);
	timeLabel->setMinimumWidth(40);
	timeLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
	timeLabel->setCursor(Qt::PointingHandCursor);
	timeLabel->installEventFilter(this);

	endModeSelector = new Selector(this);
	endModeSelector->setObjectName(u"endMode"_s);
	endModeSelector->addItem(ui("EndStop"), EndStop);
	endModeSelector->addItem(ui("EndNext"), EndNext);
	endModeSelector->addItem(ui("EndRepeat"), EndRepeat);
	endModeSelector->setAccessibleName(ui("EndMode"));
	endModeSelector->setAccessibleDescription(ui("EndModeDescription"));
	endModeSelector->setSizeAdjustPolicy(QComboBox::AdjustToContents);
	endModeSelector->setFixedHeight(rowHeight);
	endModeSelector->setStyleSheet(selectorStyle);

	auto *row = new QHBoxLayout;
	row->setSpacing(2);
	for (QWidget *widget :
	     std::initializer_list<QWidget *>{previousButton, playPauseButton, stopButton, nextButton, messageLabel})
		row->addWidget(widget, 0);
	row->addWidget(seekSlider, 2);
	row->addWidget(timeLabel, 0);
	row->addSpacing(timeGap);
	row->addWidget(endModeSelector, 0);
	return row;
}

void Reelhouse::makeShortcuts()
{
	addToList(playlistWidget, removeAction, Qt::Key_Delete);
	new KeyClaim(
		playlistWidget, {Qt::Key_Delete}, [this] { return removeAction->isEnabled(); },
		[this] { removeAction->trigger(); });
	addToList(playlistWidget, undoRemoveAction, QKeySequence::Undo);
	// Claim Undo even when there is nothing to undo here: otherwise OBS would undo its own last change, perhaps on
	// air.
	new KeyClaim(
		playlistWidget, QKeySequence::keyBindings(QKeySequence::Undo), [] { return true; },
		[this] { undoRemoveAction->trigger(); });
	new KeyClaim(playlistWidget, redoKeys(), [] { return true; }, [] {});

	connect(makeShortcut(playlistWidget, Qt::Key_Return), &QShortcut::activated, this, &Reelhouse::playSelected);
	connect(makeShortcut(playlistWidget, Qt::Key_Enter), &QShortcut::activated, this, &Reelhouse::playSelected);

	const auto find = [this] {
		searchEdit->setFocus(Qt::ShortcutFocusReason);
		searchEdit->selectAll();
	};
	connect(makeShortcut(this, QKeySequence::Find), &QShortcut::activated, this, find);
	new KeyClaim(this, {QKeySequence::Find}, [] { return true; }, find);
}

// The user's operations, in the order of the widgets.
void Reelhouse::connectSignals()
{
	auto *refreshButton = findChild<QToolButton *>(u"refresh"_s);

	connect(sourceSelector, &QComboBox::currentIndexChanged, this, &Reelhouse::chooseSource);
	connect(sourceSelector, &QComboBox::activated, this, &Reelhouse::chooseCurrentEntry);
	connect(refreshButton, &QToolButton::clicked, this, &Reelhouse::reloadSource);
	connect(searchEdit, &QLineEdit::textChanged, this, &Reelhouse::filterList);
	connect(searchEdit, &QLineEdit::returnPressed, this, &Reelhouse::playSelected);
	connect(playlistWidget, &QListWidget::itemDoubleClicked, this,
		[this](const QListWidgetItem *row) { playTrack(row->data(IdRole).toString(), true); });
	connect(playlistWidget, &QListWidget::currentItemChanged, this, &Reelhouse::updateButtons);
	connect(playlistWidget, &QListWidget::itemSelectionChanged, this, &Reelhouse::updateButtons);
	connect(playlistWidget, &TrackListWidget::reordered, this, &Reelhouse::orderChanged);
	connect(addFilesButton, &QToolButton::clicked, this, &Reelhouse::addFiles);
	connectMenu();
	connect(playPauseButton, &QToolButton::clicked, this, &Reelhouse::togglePlay);
	connect(previousButton, &QToolButton::clicked, this, [this] { playRelative(-1); });
	connect(nextButton, &QToolButton::clicked, this, [this] { playRelative(1); });
	connect(stopButton, &QToolButton::clicked, this, &Reelhouse::stop);
	connect(seekSlider, &QSlider::sliderPressed, this, &Reelhouse::beginSeek);
	connect(seekSlider, &QSlider::sliderMoved, this, [this](int value) { updateTime(timeAtSlider(value)); });
	connect(seekSlider, &QSlider::sliderReleased, this, &Reelhouse::endSeek);
	connect(seekSlider, &QSlider::valueChanged, this, &Reelhouse::stepSeek);
	connect(seekSlider, &SeekSlider::keyDownChanged, this, [this](bool down) {
		if (down)
			seekDebounce.stop();
		else if (steppingSlider)
			seekDebounce.start();
	});
	connect(&seekDebounce, &QTimer::timeout, this, &Reelhouse::endSeek);
	connect(endModeSelector, &QComboBox::currentIndexChanged, this, &Reelhouse::setEndMode);
}

void Reelhouse::setEndMode()
{
	const Operation operation(this);
	endMode = std::clamp<int>(endModeSelector->currentData().toInt(), EndStop, EndRepeat);
	changePending = true;
	storeQueue();
}
