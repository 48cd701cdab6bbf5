"""Every other step of a scenario, by keyword.

Made by generate.py of what the tool's own tables say; changes here are lost.
"""

from __future__ import annotations

from typing import Any, Literal, Mapping, Optional, Sequence, Union, cast

from .calling import StepTaker
from .results import FrameResult, StepResult
from .values import (
    BoardOutOfRangeFilters,
    ExpectBridgesValue_,
    ExpectCommands,
    ExpectDevicesValue,
    ExpectFilesValue,
    ExpectFlows,
    ExpectGemPortsValue,
    ExpectNothingLeftSince,
    ExpectPersistentValue,
    ExpectPhysValue,
    ExpectQueuesValue,
    ExpectStatisticsValue,
    ExpectTcontsValue,
    FaultOmci,
    FrameEtherType,
    FrameExpect,
    FrameGroup,
    FrameIpProtocol,
    FrameTagsItem,
    Octets,
)

__tracebackhide__ = True  # pytest shows the test's own lines


class Steps(StepTaker):
    """The steps by their names in a scenario. What does not hold raises StepFailed."""

    def gateway(
        self, value: Optional[Literal['answers', 'silent']] = None, *, answersAfterMs: Optional[int] = None,
        asks: Optional[Mapping[str, Any]] = None, sends: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> StepResult:
        """how the gateway side behaves from now on, or a message that it sends"""
        return self._take('gateway', locals(), ['note'])

    def board(
        self, *, baseMac: Optional[str] = None, serialNumber: Optional[str] = None, partNumber: Optional[str] = None,
        bootedPartition: Optional[int] = None, imageVersions: Optional[Mapping[str, Any]] = None,
        optics: Optional[Mapping[str, Any]] = None, links: Optional[Mapping[str, Any]] = None,
        phys: Optional[Mapping[str, Any]] = None, persistent: Optional[Mapping[str, Any]] = None,
        files: Optional[Mapping[str, Any]] = None, statistics: Optional[Mapping[str, Any]] = None,
        gemCounters: Optional[Mapping[str, Any]] = None, gemPorts: Optional[Sequence[Any]] = None,
        devices: Optional[Mapping[str, Any]] = None, multicastSnooping: Optional[Mapping[str, Any]] = None,
        outOfRangeFilters: Optional[BoardOutOfRangeFilters] = None, refuseDeletion: Optional[Mapping[str, Any]] = None,
        processes: Optional[Mapping[str, Any]] = None, commands: Optional[Sequence[str]] = None,
        note: Optional[str] = None,
    ) -> StepResult:
        """changes the board or the rest of the device, as if from outside

        baseMac            the board's MAC address
        serialNumber       serial number in the NVRAM
        partNumber         part number in the NVRAM
        bootedPartition    number of the booted partition
        imageVersions      software versions: {"1": "4.2.0"}
        optics             raw optical readings: {"receive", "transmit"}
        links              operational state of devices: {"eth0": "down"}
        phys               PHY ports: {"4": {"link", "speed", "duplex"}}
        persistent         persistent values: {"linkState": "standby"}
        files              device files: {"/var/mcpd.conf": "text"}; null removes one
        statistics         device counters: {"veip0": {"rx_bytes": 1}}
        gemCounters        GEM port counters: {"1001": {"6": 5}}
        gemPorts           GEM ports that the driver has already: [{"gemPort", "index"}]
        devices            network devices of others: {"veip0.1": true}; a text names the device under it, false removes
                           it
        multicastSnooping  IGMP and MLD snooping of bridges: {"br3": false}
        outOfRangeFilters  what filters on p-bits above 7 and VIDs above 4095 do: never match, match anything, or are
                           masked
        refuseDeletion     devices that cannot be deleted so many times: {"veip0.1": 2}
        processes          running processes: {"123": "dhcpc -i br3.2"}
        commands           shell commands that another part of the device runs
        """
        return self._take('board', locals(), ['note'])

    def advance(
        self, value: int, *, note: Optional[str] = None,
    ) -> StepResult:
        """lets this many milliseconds pass for every thread that idles"""
        return self._take('advance', locals(), ['note'])

    def fault(
        self, value: Optional[Literal['clear']] = None, *, function: Optional[Union[str, Octets]] = None,
        nth: Optional[int] = None, call: Optional[int] = None, code: Optional[int] = None,
        may: Optional[Union[int, bool]] = None, omci: Optional[FaultOmci] = None, note: Optional[str] = None,
    ) -> StepResult:
        """lets a later call into the device kit or the kernel fail, or answers to an OLT go astray

        function  name of the call that fails: "tmctl_setQueueCfg", "ioctl:SIOCSIFMTU"
        nth       which of its calls from now on: 1 is the next; otherwise 1
        call      instead of a function: the number of the call
        code      the call's result, or errno; otherwise 1
        may       true: no failure when it never comes to it; otherwise false
        omci      instead: what goes wrong between the ONU and its OLT
        """
        return self._take('fault', locals(), ['note'])

    def restart(
        self, value: Literal['kill', 'exit'], *, note: Optional[str] = None,
    ) -> StepResult:
        """ends the HAL's process, by SIGKILL or by itself; what follows runs in a new one on the same board"""
        return self._take('restart', locals(), ['note'])

    def frame(
        self, *, from_: Optional[Union[str, Octets]] = None, tags: Optional[Sequence[FrameTagsItem]] = None,
        etherType: Optional[FrameEtherType] = None, ipProtocol: Optional[FrameIpProtocol] = None,
        dscp: Optional[int] = None, payload: Optional[int] = None, group: Optional[FrameGroup] = None,
        source: Optional[Union[str, Octets]] = None, destination: Optional[Union[str, Octets]] = None,
        expect: Optional[FrameExpect] = None, note: Optional[str] = None,
    ) -> FrameResult:
        """sends a frame into a port or a GEM port; "expect" says where its copies leave, or that it is dropped

        from_        where it arrives: "sid0", "veip0", or "gem 1001" (needed)
        tags         its tags, outermost first; left out: untagged
        etherType    type of what it carries; otherwise "ipv4"
        ipProtocol   protocol of an IP packet
        dscp         DSCP of an IP packet; otherwise 0
        payload      octets behind its last type word, which an MTU limits; 0: as few as it can have; otherwise 0
        group        the IGMP or MLD message that it is: a query, report or leave, and the group
        source       source MAC address; otherwise "02:00:5e:00:00:01"
        destination  destination MAC address; left out: one that no bridge knows; otherwise "02:00:5e:00:00:02"
        """
        return cast(FrameResult, self._take('frame', locals(), ['expect', 'note']))

    def expect(
        self, *, devices: Optional[Mapping[str, Union[bool, ExpectDevicesValue]]] = None,
        bridges: Optional[Mapping[str, ExpectBridgesValue_]] = None,
        gemPorts: Optional[Mapping[str, Union[bool, ExpectGemPortsValue]]] = None,
        tconts: Optional[Mapping[str, Union[bool, ExpectTcontsValue]]] = None,
        queues: Optional[Mapping[str, Union[bool, ExpectQueuesValue]]] = None,
        statistics: Optional[Mapping[str, Union[bool, ExpectStatisticsValue]]] = None,
        phys: Optional[Mapping[str, Union[bool, ExpectPhysValue]]] = None,
        persistent: Optional[Mapping[str, Union[bool, ExpectPersistentValue]]] = None, ruleCount: Optional[int] = None,
        adminState: Optional[int] = None, waitedMs: Optional[int] = None, openDescriptors: Optional[int] = None,
        flows: Optional[Union[Sequence[str], ExpectFlows]] = None,
        runnerObjects: Optional[Union[Sequence[str], ExpectFlows]] = None,
        ingressKeys: Optional[Union[Sequence[str], ExpectFlows]] = None,
        ipRules: Optional[Union[Sequence[str], ExpectFlows]] = None,
        ipRoutes: Optional[Union[Sequence[str], ExpectFlows]] = None,
        learned: Optional[Union[Sequence[str], ExpectFlows]] = None,
        processes: Optional[Union[Sequence[str], ExpectFlows]] = None,
        commands: Optional[Union[Sequence[str], ExpectCommands]] = None,
        packetFrames: Optional[Union[Sequence[str], ExpectFlows]] = None,
        commandsNotUnderstood: Optional[Union[Sequence[str], ExpectFlows]] = None,
        messages: Optional[Union[Sequence[str], ExpectCommands]] = None,
        rules: Optional[Mapping[str, Union[Sequence[str], ExpectFlows]]] = None,
        defaults: Optional[Mapping[str, Union[str, Literal[False]]]] = None,
        files: Optional[Mapping[str, ExpectFilesValue]] = None,
        nothingLeftSince: Optional[Union[str, ExpectNothingLeftSince]] = None, within: Optional[int] = None,
        note: Optional[str] = None,
    ) -> StepResult:
        """states what must be so on the device; with "within", at the latest after so many milliseconds

        devices                network devices by name: true, false or some of their properties
        bridges                bridges by name: the list of their members in any order, false, or some of their
                               properties
        gemPorts               GEM ports by port id
        tconts                 T-CONTs by index; false: nothing is bound to it and it has no queues
        queues                 queues by T-CONT and number: "0.3"; mode is strict or weighted
        statistics             what devices have counted, by the names of the kernel's files
        phys                   PHY ports by number
        persistent             persistent values by key
        ruleCount              rules in all tables together
        adminState             administrative state that the GPON link was started in
        waitedMs               milliseconds that waits have asked for
        openDescriptors        device files and character devices that are open
        flows                  VLAN flows: "gpon3.3 -> sid1.3"
        runnerObjects          runner objects: "ingress_class/dir=us,index=12"
        ingressKeys            keys of the ingress queue
        ipRules                policy routing rules: "from 10.0.0.5 table 12"
        ipRoutes               routes: "default via 10.0.0.1 dev br3.2 table 12"
        learned                addresses that bridges have learned: "br3 02:00:5e:00:00:01 sid0.3"
        processes              command lines of the running processes
        commands               shell commands that were run, in order
        packetFrames           frames sent through packet sockets, as hex text
        commandsNotUnderstood  shell commands that the virtual ONU does not know
        messages               messages to the gateway, in order: "service up veip0 vlan 100 pbits 5 gem 1001 index 1
                               type 0"
        rules                  rules by table: {"sid1 rx 0": ["any | push vid0:=100"]}; "0-2" for several tables
        defaults               default actions by table: "drop", a device, or false
        files                  lines of device files by path; false: there is no such file
        nothingLeftSince       the device is as it was at this mark; "except" names lines of its state that may differ
        """
        return self._take('expect', locals(), ['within', 'note'])

    def show(
        self, value: str, *, note: Optional[str] = None,
    ) -> StepResult:
        """shows what is on the device at this moment, under a title"""
        return self._take('show', locals(), ['note'])

    def mark(
        self, value: str, *, note: Optional[str] = None,
    ) -> StepResult:
        """names this moment, for nothingLeftSince and since"""
        return self._take('mark', locals(), ['note'])

    def note(
        self, value: str,
    ) -> StepResult:
        """a heading between steps, or words beside a step"""
        return self._take('note', locals(), [])
