#!/usr/bin/python3
"""An ONVIF device on loopback whose streams are those of an RTSP server beside it.

    onvif_device.py RTSP_PORT PATH...    channel i is PATH i, to "viewer"; prints its addresses, serves until interrupted

Requests and answers are those of the published devicemgmt.wsdl and media.wsdl (versions 1.0 and 2.0) with onvif.xsd, at
www.onvif.org/ver10 and ver20, over SOAP 1.2; the UsernameToken is that of OASIS's profile 1.0, WS-Discovery that of
2005/04. The device behaves as an old one in an odd place: its clock is years behind, the addresses that it tells have a
host which nobody reaches, and the last channel has no stream.
"""

import base64
import hashlib
import http.server
import re
import secrets
import socket
import sys
import threading
import time
import urllib.parse
import urllib.request
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass
from xml.sax.saxutils import escape

HOST = "127.0.0.1"
USER, PASSWORD = "viewer", "s3cret/w@rd"
STALE_HOST = "192.0.2.50"
BEHIND = 10 * 365 * 24 * 3600  # seconds

SOAP = "http://www.w3.org/2003/05/soap-envelope"
DEVICE = "http://www.onvif.org/ver10/device/wsdl"
MEDIA1 = "http://www.onvif.org/ver10/media/wsdl"
MEDIA2 = "http://www.onvif.org/ver20/media/wsdl"
SCHEMA = "http://www.onvif.org/ver10/schema"
DISCOVERY = "http://schemas.xmlsoap.org/ws/2005/04/discovery"
ADDRESSING = "http://schemas.xmlsoap.org/ws/2004/08/addressing"
OASIS = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-"
SECEXT, UTILITY = OASIS + "wssecurity-secext-1.0.xsd", OASIS + "wssecurity-utility-1.0.xsd"
NAMES = (f'xmlns:env="{SOAP}" xmlns:tds="{DEVICE}" xmlns:trt="{MEDIA1}" xmlns:tr2="{MEDIA2}" xmlns:tt="{SCHEMA}" '
         f'xmlns:ter="http://www.onvif.org/ver10/error" xmlns:d="{DISCOVERY}" xmlns:wsa="{ADDRESSING}" '
         'xmlns:dn="http://www.onvif.org/ver10/network/wsdl"')


class Refused(Exception):
    """A fault: its code and subcode."""


@dataclass
class Profile:
    token: str
    source: str
    path: str
    width: int
    height: int


def envelope(body, header=""):
    head = f"<env:Header>{header}</env:Header>" if header else ""
    return f'<?xml version="1.0" encoding="UTF-8"?>\n<env:Envelope {NAMES}>{head}<env:Body>{body}</env:Body></env:Envelope>'


def fault(code, subcode):
    return envelope(f"<env:Fault><env:Code><env:Value>env:{code}</env:Value><env:Subcode><env:Value>ter:{subcode}"
                    '</env:Value></env:Subcode></env:Code><env:Reason><env:Text xml:lang="en">No</env:Text></env:Reason>'
                    "</env:Fault>")


def md5(text):
    return hashlib.md5(text.encode()).hexdigest()


class Device:
    """What the device is and answers; its servers are Handler and a thread for searches."""

    def __init__(self, rtsp_port, paths, smaller=()):
        """A profile for each path, and one of a smaller picture for each of the second paths."""
        self.rtsp_port = rtsp_port
        self.sources = [f"VideoSource_{channel}" for channel in range(1, len(paths) + 2)]
        # As devices list them: the smaller ones first.
        self.profiles = [Profile(f"Sub & {channel}", f"VideoSource_{channel}", path, 320, 180)
                         for channel, path in enumerate(smaller, 1)]
        self.profiles += [Profile(f"Main_{channel}", f"VideoSource_{channel}", path, 640, 360)
                          for channel, path in enumerate(paths, 1)]
        self.realm_nonce = secrets.token_hex(8)
        self.seen = set()
        self.server = http.server.ThreadingHTTPServer((HOST, 0), Handler)
        self.server.daemon_threads = True
        self.server.device = self
        self.port = self.server.server_address[1]
        self.search_socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.search_socket.bind((HOST, 0))
        self.search_port = self.search_socket.getsockname()[1]

    def start(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        threading.Thread(target=self.answer_searches, daemon=True).start()

    def answer_searches(self):
        while True:
            datagram, sender = self.search_socket.recvfrom(65536)
            try:
                root = ElementTree.fromstring(datagram)
                types = root.find(f"{{{SOAP}}}Body/{{{DISCOVERY}}}Probe/{{{DISCOVERY}}}Types").text
                message = root.find(f"{{{SOAP}}}Header/{{{ADDRESSING}}}MessageID").text
            except (ElementTree.ParseError, AttributeError):
                continue
            if types.split(":")[-1] in ("NetworkVideoTransmitter", "Device"):
                self.search_socket.sendto(self.match(message).encode(), sender)

    def match(self, message):
        scopes = " ".join("onvif://www.onvif.org/" + scope for scope in (
            "type/video_encoder", "Profile/Streaming", "Profile/T", "hardware/Bench-9", "name/Test%20device",
            "location/country/nowhere"))
        return envelope(
            "<d:ProbeMatches><d:ProbeMatch><wsa:EndpointReference><wsa:Address>urn:uuid:2419d68a-2dd2-21b2-a205-"
            f"{self.port:012x}</wsa:Address></wsa:EndpointReference><d:Types>dn:NetworkVideoTransmitter tds:Device</d:Types>"
            f"<d:Scopes>{scopes}</d:Scopes><d:XAddrs>http://{STALE_HOST}:{self.port}/onvif/device_service</d:XAddrs>"
            "<d:MetadataVersion>1</d:MetadataVersion></d:ProbeMatch></d:ProbeMatches>",
            f"<wsa:MessageID>uuid:{secrets.token_hex(16)}</wsa:MessageID><wsa:RelatesTo>{escape(message)}</wsa:RelatesTo>"
            f"<wsa:To>{ADDRESSING}/role/anonymous</wsa:To><wsa:Action>{DISCOVERY}/ProbeMatches</wsa:Action>")

    def answer(self, root, authorization, path):
        """Status, headers and body for one request."""
        operation = root.find(f"{{{SOAP}}}Body")[0]
        space, name = re.fullmatch(r"\{(.*)\}(.*)", operation.tag).groups()
        if name != "GetSystemDateAndTime" and not self.is_digest_right(authorization, path):
            token = root.find(f"{{{SOAP}}}Header/{{{SECEXT}}}Security/{{{SECEXT}}}UsernameToken")
            if token is None:
                return 401, {"WWW-Authenticate": f'Digest realm="onvif", qop="auth", nonce="{self.realm_nonce}"'}, ""
            if not self.is_token_right(token):
                return 400, {}, fault("Sender", "NotAuthorized")
        try:
            return 200, {}, envelope(getattr(self, "do_" + name)(operation, space))
        except AttributeError:
            return 500, {}, fault("Receiver", "ActionNotSupported")
        except Refused as refused:
            return 400, {}, fault(*refused.args)

    def is_token_right(self, token):
        password, nonce = token.find(f"{{{SECEXT}}}Password"), token.find(f"{{{SECEXT}}}Nonce").text
        created = token.find(f"{{{UTILITY}}}Created").text
        digest = hashlib.sha1(base64.b64decode(nonce) + created.encode() + PASSWORD.encode()).digest()
        moment = time.strptime(created, "%Y-%m-%dT%H:%M:%SZ")
        fresh = nonce not in self.seen
        self.seen.add(nonce)
        return (fresh and token.find(f"{{{SECEXT}}}Username").text == USER
                and password.get("Type") == OASIS + "username-token-profile-1.0#PasswordDigest"
                and base64.b64decode(password.text) == digest
                and abs(time.mktime(moment) - time.mktime(time.gmtime(time.time() - BEHIND))) <= 5)

    def is_digest_right(self, authorization, path):
        if not authorization.startswith("Digest "):
            return False
        fields = urllib.request.parse_keqv_list(urllib.request.parse_http_list(authorization[7:]))
        middle = ":".join((fields["nc"], fields["cnonce"], fields["qop"]))
        expected = md5(f"{md5(f'{USER}:onvif:{PASSWORD}')}:{self.realm_nonce}:{middle}:{md5(f'POST:{path}')}")
        return fields["nonce"] == self.realm_nonce and fields["response"] == expected and fields["uri"] == path

    def do_GetSystemDateAndTime(self, _operation, _space):
        now = time.gmtime(time.time() - BEHIND)
        return ("<tds:GetSystemDateAndTimeResponse><tds:SystemDateAndTime><tt:DateTimeType>Manual</tt:DateTimeType>"
                "<tt:DaylightSavings>false</tt:DaylightSavings><tt:UTCDateTime><tt:Time>"
                f"<tt:Hour>{now.tm_hour}</tt:Hour><tt:Minute>{now.tm_min}</tt:Minute><tt:Second>{now.tm_sec}</tt:Second>"
                f"</tt:Time><tt:Date><tt:Year>{now.tm_year}</tt:Year><tt:Month>{now.tm_mon}</tt:Month>"
                f"<tt:Day>{now.tm_mday}</tt:Day></tt:Date></tt:UTCDateTime></tds:SystemDateAndTime>"
                "</tds:GetSystemDateAndTimeResponse>")

    def do_GetServices(self, operation, _space):
        if operation.find(f"{{{DEVICE}}}IncludeCapability") is None:
            raise Refused("Sender", "InvalidArgs")
        services = ((DEVICE, "device_service"), (MEDIA1, "media"), (MEDIA2, "media2"))
        return "<tds:GetServicesResponse>" + "".join(
            f"<tds:Service><tds:Namespace>{name}</tds:Namespace><tds:XAddr>http://{STALE_HOST}:{self.port}/onvif/{path}"
            "</tds:XAddr><tds:Version><tt:Major>2</tt:Major><tt:Minor>60</tt:Minor></tds:Version></tds:Service>"
            for name, path in services) + "</tds:GetServicesResponse>"

    def do_GetVideoSources(self, _operation, space):
        if space != MEDIA1:
            raise Refused("Receiver", "ActionNotSupported")
        return "<trt:GetVideoSourcesResponse>" + "".join(
            f'<trt:VideoSources token="{source}"><tt:Framerate>25</tt:Framerate><tt:Resolution><tt:Width>640</tt:Width>'
            "<tt:Height>360</tt:Height></tt:Resolution></trt:VideoSources>"
            for source in self.sources) + "</trt:GetVideoSourcesResponse>"

    def do_GetProfiles(self, operation, space):
        if space == MEDIA1:
            profiles = "".join(self.profile(one, "trt", "tt:VideoSourceConfiguration", "tt:VideoEncoderConfiguration")
                               for one in self.profiles)
            return f"<trt:GetProfilesResponse>{profiles}</trt:GetProfilesResponse>"
        types = {node.text for node in operation.findall(f"{{{MEDIA2}}}Type")}
        if not types >= {"VideoSource", "VideoEncoder"}:
            raise Refused("Sender", "InvalidArgs")
        profiles = "".join(self.profile(one, "tr2", "tr2:VideoSource", "tr2:VideoEncoder") for one in self.profiles)
        return f"<tr2:GetProfilesResponse>{profiles}</tr2:GetProfilesResponse>"

    @staticmethod
    def profile(one, space, source, encoder):
        newer = space == "tr2"
        parts = (f'<{source} token="c{one.source}"><tt:Name>Input</tt:Name><tt:UseCount>2</tt:UseCount><tt:SourceToken>'
                 f'{one.source}</tt:SourceToken><tt:Bounds x="0" y="0" width="640" height="360"/></{source}>'
                 f'<{encoder} token="e{escape(one.token)}"><tt:Name>Coding</tt:Name><tt:UseCount>1</tt:UseCount>'
                 f"<tt:Encoding>H264</tt:Encoding><tt:Resolution><tt:Width>{one.width}</tt:Width><tt:Height>{one.height}"
                 "</tt:Height></tt:Resolution><tt:Quality>4</tt:Quality>")
        if not newer:
            parts += ("<tt:Multicast><tt:Address><tt:Type>IPv4</tt:Type><tt:IPv4Address>0.0.0.0</tt:IPv4Address></tt:Address>"
                      "<tt:Port>0</tt:Port><tt:TTL>1</tt:TTL><tt:AutoStart>false</tt:AutoStart></tt:Multicast>"
                      "<tt:SessionTimeout>PT60S</tt:SessionTimeout>")
        parts += f"</{encoder}>"
        name = f"<{'tr2' if newer else 'tt'}:Name>P</{'tr2' if newer else 'tt'}:Name>"
        inside = f"<tr2:Configurations>{parts}</tr2:Configurations>" if newer else parts
        return f'<{space}:Profiles token="{escape(one.token)}" fixed="true">{name}{inside}</{space}:Profiles>'

    def do_GetStreamUri(self, operation, space):
        token = operation.find(f"{{{space}}}ProfileToken").text
        found = [one for one in self.profiles if one.token == token]
        if not found:
            raise Refused("Sender", "NoProfile")
        uri = f"rtsp://{STALE_HOST}:{self.rtsp_port}/{found[0].path}"
        if space == MEDIA2:
            if operation.find(f"{{{MEDIA2}}}Protocol").text not in ("RTSP", "RtspUnicast"):
                raise Refused("Sender", "InvalidArgVal")
            return f"<tr2:GetStreamUriResponse><tr2:Uri>{uri}</tr2:Uri></tr2:GetStreamUriResponse>"
        return (f"<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>{uri}</tt:Uri><tt:InvalidAfterConnect>false"
                "</tt:InvalidAfterConnect><tt:InvalidAfterReboot>false</tt:InvalidAfterReboot><tt:Timeout>PT0S"
                "</tt:Timeout></trt:MediaUri></trt:GetStreamUriResponse>")


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):  # noqa: N802, the base class's name
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        if not self.path.startswith("/onvif/") or "application/soap+xml" not in self.headers.get("Content-Type", ""):
            status, headers, text = 404, {}, ""
        else:
            try:
                status, headers, text = self.server.device.answer(
                    ElementTree.fromstring(body), self.headers.get("Authorization", ""), self.path)
            except (ElementTree.ParseError, AttributeError, IndexError, KeyError, TypeError, ValueError):
                status, headers, text = 400, {}, fault("Sender", "WellFormed")
        data = text.encode()
        self.send_response(status)
        for name, value in {**headers, "Content-Type": "application/soap+xml; charset=utf-8",
                            "Content-Length": str(len(data))}.items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(data)

    def log_message(self, *_):
        """Says nothing: requests hold credentials."""


def main():
    device = Device(int(sys.argv[1]), sys.argv[2:])
    device.start()
    print(f"onvif://{USER}:{urllib.parse.quote(PASSWORD, safe='')}@{HOST}:{device.port}")
    print(f"search: {HOST}:{device.search_port}", flush=True)
    threading.Event().wait()


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        pass
