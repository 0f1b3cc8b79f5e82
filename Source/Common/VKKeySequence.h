// The suite's keyboard shortcuts: one named sequence for each command, in one table for all applications.
#pragma once

#include "VKQtExport.h"

#include <QKeySequence>
#include <QLatin1StringView>
#include <QList>

/// Every application of the suite binds its actions to these constants, so that a command has the same key
/// everywhere.
///
/// They are built from key codes in the order of this table when the library is loaded, destroyed in the
/// reverse order when it is unloaded, and never changed between: any thread may read them.
///
/// Ctrl is the Command key on macOS, Meta its Control key, Alt its Option key. Some names share a key on
/// purpose: they act in different modes. Names with "no key" equal kUndefinedKeySequence; they let an action
/// have a key later. Names that end in MacPlatform and WinPlatform are both always there, and the application
/// binds the one of its platform.
class VKQT_DATA_EXPORT VKKeySequence {
public:
    VKKeySequence() = delete;

    /// What a command belongs to, for pages that show the table.
    enum class Group {
        Undefined, ///< kUndefinedKeySequence alone
        Modules,
        DevelopSliders,
        Tools,
        Brushes,
        Masks,
        Layers,
        Files,
        Editing,
        Zoom,
        Search,
        Preview,
        ViewModes,
        Albums,
        Ratings,
        Pictures,
        Settings,
        Windows,
    };

    enum class Platform { Any, Mac, Windows };

    /// One row of the table.
    struct Entry {
        QLatin1StringView name; ///< "kToolCrop"
        Group group = Group::Undefined;
        Platform platform = Platform::Any; ///< by the end of the name
        QKeySequence sequence;

        /// The command for people, in English: "kRotate90DegreesCW" -> "Rotate 90 degrees CW",
        /// "kFireCameraMacPlatform" -> "Fire camera".
        [[nodiscard]] QString title() const;
    };

    /// Every constant of the table, in table order. A new list with each call.
    [[nodiscard]] static QList<Entry> entries();

    /// "Tools"; empty for Group::Undefined.
    [[nodiscard]] static QString groupTitle(Group group);

    // The order is that of construction. New names may join anywhere; none may leave.
    static const QKeySequence kUndefinedKeySequence;       ///< no key
    static const QKeySequence kModuleBrowse;               ///< G
    static const QKeySequence kModuleDevelop;              ///< D
    static const QKeySequence kModuleEffects;              ///< S
    static const QKeySequence kModuleResize;               ///< Y
    static const QKeySequence kModuleLocalAdjustment;      ///< A
    static const QKeySequence kModulePortrait;             ///< I
    static const QKeySequence kModuleLayers;               ///< no key
    static const QKeySequence kModuleReplaceSky;           ///< no key
    static const QKeySequence kModuleTether;               ///< T
    static const QKeySequence kDevelopSliderExposure;      ///< Alt+Q
    static const QKeySequence kDevelopSliderContrast;      ///< Alt+W
    static const QKeySequence kDevelopSliderHighlights;    ///< Alt+E
    static const QKeySequence kDevelopSliderMidtones;      ///< Alt+R
    static const QKeySequence kDevelopSliderShadows;       ///< Alt+T
    static const QKeySequence kDevelopSliderWhites;        ///< Alt+Y
    static const QKeySequence kDevelopSliderBlacks;        ///< Alt+U
    static const QKeySequence kDevelopSliderTemperature;   ///< Alt+A
    static const QKeySequence kDevelopSliderTint;          ///< Alt+S
    static const QKeySequence kDevelopSliderSaturation;    ///< Alt+D
    static const QKeySequence kDevelopSliderVibrance;      ///< Alt+F
    static const QKeySequence kToolQuickMask;              ///< Ctrl+Alt+Shift+W
    static const QKeySequence kToolSegmentAnythingMask;    ///< W
    static const QKeySequence kToolBlurMask;               ///< L
    static const QKeySequence kToolLineMask;               ///< Shift+P
    static const QKeySequence kToolCloneStamp;             ///< Shift+S
    static const QKeySequence kToolCrop;                   ///< C
    static const QKeySequence kToolHealingBrush;           ///< Q
    static const QKeySequence kToolLiquifyPush;            ///< Shift+L
    static const QKeySequence kToolLiquifyBloat;           ///< Alt+L
    static const QKeySequence kToolLiquifyPinch;           ///< Alt+Shift+L
    static const QKeySequence kToolMaskingBrush;           ///< B
    static const QKeySequence kAddToTargetAlbum;           ///< B
    static const QKeySequence kToolGenerativeEraser;       ///< Alt+Shift+Q
    static const QKeySequence kToolRefineBrush;            ///< N
    static const QKeySequence kToolRetouchBrush;           ///< R
    static const QKeySequence kToolSegmentAnything;        ///< K
    static const QKeySequence kToolTransform;              ///< V
    static const QKeySequence kToolZoomPan;                ///< Z
    static const QKeySequence kToolWhiteBalancePicker;     ///< J
    static const QKeySequence kToolRedEyeRemoval;          ///< Shift+R
    static const QKeySequence kToolGradientMask;           ///< Shift+M
    static const QKeySequence kToolPerspective;            ///< Shift+V
    static const QKeySequence kMaskShowToggle;             ///< O
    static const QKeySequence kBrushSizeIncrement;         ///< ]
    static const QKeySequence kBrushSizeDecrement;         ///< [
    static const QKeySequence kBrushFeatherIncrement;      ///< Shift+]
    static const QKeySequence kBrushFeatherDecrement;      ///< Shift+[
    static const QKeySequence kBrushOpacity10Percent;      ///< Alt+1
    static const QKeySequence kBrushOpacity20Percent;      ///< Alt+2
    static const QKeySequence kBrushOpacity30Percent;      ///< Alt+3
    static const QKeySequence kBrushOpacity40Percent;      ///< Alt+4
    static const QKeySequence kBrushOpacity50Percent;      ///< Alt+5
    static const QKeySequence kBrushOpacity60Percent;      ///< Alt+6
    static const QKeySequence kBrushOpacity70Percent;      ///< Alt+7
    static const QKeySequence kBrushOpacity80Percent;      ///< Alt+8
    static const QKeySequence kBrushOpacity90Percent;      ///< Alt+9
    static const QKeySequence kBrushOpacity100Percent;     ///< Alt+0
    static const QKeySequence kBrushOpacityIncrement;      ///< Alt+]
    static const QKeySequence kBrushOpacityDecrement;      ///< Alt+[
    static const QKeySequence kBrushAngleIncrement;        ///< Alt+Shift+]
    static const QKeySequence kBrushAngleDecrement;        ///< Alt+Shift+[
    static const QKeySequence kBrushModeToggle;            ///< Shift+X
    static const QKeySequence kHealOverlayToggle;          ///< H
    static const QKeySequence kNewCanvas;                  ///< Ctrl+N
    static const QKeySequence kCanvasSize;                 ///< Ctrl+Alt+C
    static const QKeySequence kBrowseFolder;               ///< Ctrl+B
    static const QKeySequence kSearchByText;               ///< Ctrl+F
    static const QKeySequence kQuickExport;                ///< Ctrl+Shift+S
    static const QKeySequence kSaveAs;                     ///< no key
    static const QKeySequence kFireCameraMacPlatform;      ///< Meta+Space
    static const QKeySequence kFireCameraWinPlatform;      ///< Ctrl+Space
    static const QKeySequence kPrint;                      ///< Ctrl+P
    static const QKeySequence kExit;                       ///< Ctrl+Q
    static const QKeySequence kUndo;                       ///< Ctrl+Z
    static const QKeySequence kRedo;                       ///< Ctrl+Shift+Z
    static const QKeySequence kSelectAll;                  ///< Ctrl+A
    static const QKeySequence kSelectNone;                 ///< Ctrl+D
    static const QKeySequence kDeselect;                   ///< /
    static const QKeySequence kCut;                        ///< Ctrl+X
    static const QKeySequence kCopy;                       ///< Ctrl+C
    static const QKeySequence kPaste;                      ///< Ctrl+V
    static const QKeySequence kDelete;                     ///< Del
    static const QKeySequence kDeleteBackspace;            ///< Backspace
    static const QKeySequence kPreferences;                ///< Ctrl+K
    static const QKeySequence kThumbnailsBiggerPlus;       ///< +
    static const QKeySequence kThumbnailsBiggerEqual;      ///< =
    static const QKeySequence kThumbnailsSmaller;          ///< -
    static const QKeySequence kZoomInPlus;                 ///< Ctrl++
    static const QKeySequence kZoomInEqual;                ///< Ctrl+=
    static const QKeySequence kZoomOut;                    ///< Ctrl+-
    static const QKeySequence kZoomFitToScreen;            ///< Ctrl+0
    static const QKeySequence kZoomActualPixels;           ///< Ctrl+Alt+0
    static const QKeySequence kSearchAdvancedEnable;       ///< Ctrl+L
    static const QKeySequence kFilterText;                 ///< Ctrl+Shift+F
    static const QKeySequence kFilterReset;                ///< Ctrl+Shift+L
    static const QKeySequence kMaskShowClipping;           ///< Alt+J
    static const QKeySequence kMaskShowFocusMask;          ///< Alt+Shift+J
    static const QKeySequence kPreviewShowToggle;          ///< backslash
    static const QKeySequence kPreviewCompare;             ///< Ctrl+Y
    static const QKeySequence kSoftProofingEnable;         ///< no key
    static const QKeySequence kAutoHideToolBarOptionsBar;  ///< no key
    static const QKeySequence kViewModeThumbnail;          ///< G
    static const QKeySequence kViewModePhoto;              ///< E
    static const QKeySequence kViewModeFilmstrip;          ///< F
    static const QKeySequence kViewModeCompare;            ///< C
    static const QKeySequence kViewModeMap;                ///< M
    static const QKeySequence kRemoveFromAlbumDelete;      ///< Shift+Del
    static const QKeySequence kAlbumMenuCreateSmartAlbum;  ///< no key
    static const QKeySequence kRemoveFromAlbumBackspace;   ///< Shift+Backspace
    static const QKeySequence kClearStars;                 ///< `
    static const QKeySequence kStars1;                     ///< 1
    static const QKeySequence kStars2;                     ///< 2
    static const QKeySequence kStars3;                     ///< 3
    static const QKeySequence kStars4;                     ///< 4
    static const QKeySequence kStars5;                     ///< 5
    static const QKeySequence kRed;                        ///< 6
    static const QKeySequence kYellow;                     ///< 7
    static const QKeySequence kGreen;                      ///< 8
    static const QKeySequence kBlue;                       ///< 9
    static const QKeySequence kPurple;                     ///< 0
    static const QKeySequence kLike;                       ///< P
    static const QKeySequence kDislike;                    ///< X
    static const QKeySequence kClearLikeDislike;           ///< U
    static const QKeySequence kRotate90DegreesCW;          ///< Ctrl+]
    static const QKeySequence kRotate90DegreesCCW;         ///< Ctrl+[
    static const QKeySequence kGroupIntoStacks;            ///< Ctrl+G
    static const QKeySequence kStacksModifyVisualState;    ///< Ctrl+Shift+G
    static const QKeySequence kUnstack;                    ///< no key
    static const QKeySequence kResetAllSettings;           ///< Ctrl+Shift+R
    static const QKeySequence kCopySettings;               ///< Ctrl+Shift+C
    static const QKeySequence kPasteSettings;              ///< Ctrl+Shift+V
    static const QKeySequence kPasteSettingsPreviousEdit;  ///< Ctrl+Alt+V
    static const QKeySequence kSyncSettings;               ///< Ctrl+Alt+S
    static const QKeySequence kSyncAllSettings;            ///< Ctrl+Alt+Shift+S
    static const QKeySequence kCreateVersion;              ///< Ctrl+'
    static const QKeySequence kSaveSettings;               ///< Ctrl+S
    static const QKeySequence kNewSnapshot;                ///< Ctrl+Alt+Shift+N
    static const QKeySequence kDualModeShow;               ///< Ctrl+F11
    static const QKeySequence kDualModeFullScreenMode;     ///< Ctrl+Shift+F11
    static const QKeySequence kMinimizeMacPlatform;        ///< Ctrl+M
    static const QKeySequence kFullScreenMacPlatform;      ///< Ctrl+Meta+F
    static const QKeySequence kFullScreenWinPlatform;      ///< F11
    static const QKeySequence kFullScreenPreview;          ///< Shift+F
    static const QKeySequence kTogglePane1;                ///< Ctrl+1
    static const QKeySequence kTogglePane2;                ///< Ctrl+2
    static const QKeySequence kTogglePane3;                ///< Ctrl+3
    static const QKeySequence kTogglePane4;                ///< Ctrl+4
    static const QKeySequence kTogglePane5;                ///< Ctrl+5
    static const QKeySequence kTogglePane6;                ///< Ctrl+6
    static const QKeySequence kTogglePane7;                ///< Ctrl+7
    static const QKeySequence kTogglePane8;                ///< Ctrl+8
    static const QKeySequence kTogglePane9;                ///< Ctrl+9
    static const QKeySequence kToggleSearchBar;            ///< Ctrl+F1
    static const QKeySequence kOpenQuickViewBrowser;       ///< Alt+Up
    static const QKeySequence kTogglePanelLeft;            ///< Ctrl+Left
    static const QKeySequence kTogglePanelRight;           ///< Ctrl+Right
    static const QKeySequence kTogglePanelLeftAndRight;    ///< Tab
    static const QKeySequence kShowProperties;             ///< Ctrl+Alt+Shift+I
    static const QKeySequence kQuickSlideshowStart;        ///< Alt+Shift+F
    static const QKeySequence kShowDebugDialog;            ///< Shift+D then Ctrl+F12
    static const QKeySequence kShowDebugInformationDialog; ///< Shift+D then Ctrl+F10
    static const QKeySequence kInvertMask;                 ///< Ctrl+I
    static const QKeySequence kShowMaskMacPlatform;        ///< Meta+M
    static const QKeySequence kShowMaskWinPlatform;        ///< Ctrl+M
    static const QKeySequence kAddLayerFromFile;           ///< Ctrl+Shift+O
    static const QKeySequence kAddTextLayer;               ///< Ctrl+T
    static const QKeySequence kDuplicateLayer;             ///< Ctrl+J
    static const QKeySequence kMergeLayer;                 ///< Ctrl+E
    static const QKeySequence kMergeVisibleLayers;         ///< Ctrl+Shift+E
    static const QKeySequence kNewStampedLayer;            ///< Ctrl+Shift+J
};
