/** Video windows for a page or a main process. All coordinates are device pixels of the host window. */
/// <reference types="node" />
import { EventEmitter } from 'events';

/** Loads Pellora.dll. Without it the first use does, from the package's own folder. Throws PelloraError. */
export function load(options?: {
    /** Path of Pellora.dll; its companions lie beside it. */
    library?: string;
    /** Path of the add-on, for programs that are packed into one file. */
    addOn?: string;
}): void;

/**
 * The handle of a window of this process by its title, as NW.js names a window after its page; null where there is none (yet). Where
 * several have that title, one of them: give the page a title of its own while it is looked for.
 */
export function findWindow(title: string): number | null;

/**
 * What the coordinates of setGeometry lie in, in device pixels; null where there is no such window. In NW.js it holds the caption
 * too, below which the page begins: what it is higher than the page.
 */
export function clientSize(host: number): { width: number; height: number } | null;

/** A call that has failed. */
export class PelloraError extends Error {
    readonly code: 'ERR_PELLORA';
    /** The function of the library that refused. */
    readonly function: string;
    /** Why, as the library's log says. */
    readonly reason: string;
    constructor(functionName: string, reason: string);
}

export interface CameraNews {
    login: number;
    channel: number;
    /** 0 main, 1 sub, 2 third */
    stream: number;
    state: 'starting' | 'playing' | 'lost' | 'failed' | 'stopped';
    /** The device library's code; 0 without an error. */
    error: number;
    /** The same in words. */
    reason: string;
}

/** A log-in at a camera or recorder: rtsp, rtsps, http, https, onvif, or file for a simulated one. Opens no connection. */
export class Camera {
    readonly login: number;
    constructor(address: string, credentials?: { user?: string; password?: string });
    /** Ends what plays with it. Takes up to a second. */
    logout(): Promise<void>;
}

/** Tells 'camera' for all cameras of the process. */
export const cameras: EventEmitter;

export type Stream = 'main' | 'sub' | 'third';
export type Unit = 'thousandths' | 'pixels';
export type PaneCount = 1 | 4 | 9;

/** Without a pane, the current one. With one, that becomes the current one. */
export interface InPane {
    pane?: number;
}

export interface Point {
    x: number;
    y: number;
}

export interface Edges {
    left: number;
    top: number;
    right: number;
    bottom: number;
}

export interface Line {
    from: Point;
    to: Point;
}

export interface Polygon {
    points: Point[];
}

export interface Text extends Point {
    text: string;
    anchor?: 'topLeft' | 'topRight';
    dock?: 'none' | 'left' | 'right';
}

/** The shape of each type of rule. */
export interface Shapes {
    point: Point;
    line: Line;
    rect: Edges;
    polygon: Polygon;
    text: Text;
    arrowLine: Line;
    captionedRect: Edges;
    captionedPolygon: Polygon;
    captionedLine: Line;
    captionedCross: Point;
}

export type RuleType = keyof Shapes;
export type Shape = Shapes[RuleType];

export interface RuleNews {
    pane: number;
    rule: number;
    type: RuleType;
    state: 'drawing' | 'complete' | 'editing';
    /** Thousandths of the picture. */
    shape: Shape;
    /** Pixels of the picture; null without one. */
    pixels: Shape | null;
}

export interface StatusNews {
    pane: number;
    playing: boolean;
    /** -1 without a preview. */
    login: number;
    channel: number;
    /** The user has clicked the pane: no outcome. Within the second behind a click that draws a rule, it may be one all the same. */
    clicked: boolean;
}

export interface NewRule<T extends RuleType = RuleType> {
    type: T;
    /** "#rrggbb" */
    colour?: string;
    caption?: string;
    /** Points of a polygon that the user draws, at most 10; 4 without it. */
    points?: number;
    /** The right button completes a polygon with fewer. */
    finishEarly?: boolean;
    /** Edges of the picture that it stays within. */
    limits?: Array<'left' | 'top' | 'right' | 'bottom'>;
    /** Without a shape the user draws it. */
    shape?: Shapes[T];
    unit?: Unit;
    pane?: number;
}

export interface PreviewRequest {
    camera: Camera | number;
    channel?: number;
    stream?: Stream;
    overlay?: boolean;
}

export interface ClipArea {
    x: number;
    y: number;
    width: number;
    height: number;
    radius?: number;
}

/** As of Promise.allSettled. */
export type PreviewOutcome = { status: 'fulfilled' } | { status: 'rejected'; reason: PelloraError };

/**
 * A video window in a window of the host's.
 *
 * Every method answers when the library has done it on the host window's thread; nothing waits on either thread. What
 * the library refuses rejects with PelloraError. A window that is collected, or whose page, worker or process ends, closes.
 * An open one that has listeners is not collected.
 */
export class VideoWindow extends EventEmitter {
    static open(options: {
        /** Electron: win.getNativeWindowHandle(). */
        host: Buffer | bigint | number;
        /** How the video stays visible above or below the page. */
        embed?: 'renderWidget' | 'd3dWindow' | 'plain';
        panes?: PaneCount;
        /** The window object of the page: the video closes with it. Needed where pages share one environment, as in NW.js. */
        page?: { addEventListener(type: 'unload', listener: () => void): void;
            removeEventListener(type: 'unload', listener: () => void): void } | null;
    }): Promise<VideoWindow>;
    readonly isOpen: boolean;
    close(): Promise<void>;

    setGeometry(place: { x: number; y: number; width: number; height: number }): Promise<void>;
    setVisible(visible: boolean): Promise<void>;
    /** Pixels of the video window; four at most. Again after each change of the window's size. */
    setClipAreas(areas: ClipArea[]): Promise<void>;
    split(panes: PaneCount): Promise<void>;
    enterFullScreen(): Promise<void>;
    leaveFullScreen(): Promise<void>;
    selectPane(pane: number): Promise<void>;

    /** Resolves when the stream begins, rejects with the device's reason. */
    preview(camera: Camera | number, options?: Omit<PreviewRequest, 'camera'> & InPane): Promise<void>;
    /** In panes 0, 1, 2 and so on, nine at most. */
    previewAll(requests: Array<PreviewRequest & { address?: string | null }>): Promise<PreviewOutcome[]>;
    stopPreview(options?: InPane): Promise<void>;
    stopAllPreviews(): Promise<void>;
    showAnalysis(show: boolean): Promise<void>;

    playFile(file: string, options?: { loop?: boolean; overlay?: boolean; pane?: number }): Promise<void>;
    stopFile(options?: InPane): Promise<void>;
    play(options?: InPane): Promise<void>;
    pause(options?: InPane): Promise<void>;
    resume(options?: InPane): Promise<void>;
    faster(options?: InPane): Promise<void>;
    slower(options?: InPane): Promise<void>;
    nextPicture(options?: InPane): Promise<void>;
    previousPicture(options?: InPane): Promise<void>;
    /** Seconds. */
    seek(seconds: number, options?: InPane): Promise<void>;
    position(options?: InPane): Promise<number>;
    duration(options?: InPane): Promise<number>;
    fileDuration(file: string): Promise<number>;
    recordingTimes(options?: InPane): Promise<{ start: Date; end: Date } | null>;
    recordingTime(options?: InPane): Promise<Date | null>;

    pictureSize(options?: InPane): Promise<{ width: number; height: number }>;
    /** A JPEG; part in thousandths, quality 1 to 100. */
    capture(options?: { part?: Edges; quality?: number; pane?: number }): Promise<Buffer>;
    /** Thousandths; null: all of the picture. */
    setDisplayRegion(region: Edges | null, options?: InPane): Promise<void>;
    openSound(options?: InPane): Promise<void>;
    closeSound(options?: InPane): Promise<void>;
    /** 0 to 1. */
    setVolume(volume: number, options?: InPane): Promise<void>;
    volume(options?: InPane): Promise<number>;

    setOrigin(origin: 'topLeft' | 'bottomLeft', options?: InPane): Promise<void>;
    openOverlay(options?: InPane): Promise<void>;
    closeOverlay(options?: InPane): Promise<void>;
    /** The rule's number, 0 to 63. */
    createRule<T extends RuleType>(rule: NewRule<T>): Promise<number>;
    setRule(rule: number, shape: Shape, options?: { pane?: number; unit?: Unit }): Promise<void>;
    getRule(rule: number, options?: { pane?: number; unit?: Unit }): Promise<Shape>;
    destroyRule(rule: number, options?: InPane): Promise<void>;
    clearRules(options?: InPane): Promise<void>;
    setArrows(rule: number, arrows: 'both' | 'a' | 'b' | 'none', options?: InPane): Promise<void>;

    /** The outcome of a start, or a click into a pane. */
    on(event: 'status', listener: (news: StatusNews) => void): this;
    /** A file has ended. */
    on(event: 'end', listener: (news: { pane: number }) => void): this;
    /** The user draws or edits a rule. */
    on(event: 'rule', listener: (news: RuleNews) => void): this;
    /** How a camera is, of all cameras of the process. */
    on(event: 'camera', listener: (news: CameraNews) => void): this;
    /** So many events were left out: the script was busy while 65,536 waited. */
    on(event: 'lost', listener: (count: number) => void): this;
    on(event: 'close', listener: () => void): this;
}
