"""Every operation of the HAL, by keyword.

Made by generate.py of what the tool's own tables say; changes here are lost.
"""

from __future__ import annotations

from typing import Any, Literal, Mapping, Optional, Sequence, Union

from .calling import LEFT_OUT, Caller, Record
from .results import CallResult
from .values import (
    DownstreamMode,
    EtherType,
    FilterType,
    Interval,
    Kind,
    Octets,
    OuterFilterPrio,
    OuterFilterTpidDe,
    OuterTreatmentPrio,
    OuterTreatmentTpidDe,
    OuterTreatmentVlanId,
    PbitMapItem,
    RemoveType,
    SchedPolicy,
    TagAction,
    TrafficModel,
    VlanTciFilterList,
)

__tracebackhide__ = True  # pytest shows the test's own lines


class Calls(Caller):
    """The operations by their full names, and by the short ones.

    Fields that are left out take neutral values, or those of the record: a name, or a mapping of fields; None is a null
    pointer. result and output are what is expected; what came is in the result. What does not hold raises StepFailed.
    """

    def vorn_omci_hal_provisionIpHost(
        self, *, allocId: Optional[int] = None, gemId: Optional[int] = None, bridgeId: Optional[int] = None,
        uniPort: Optional[int] = None, macAddress: Optional[Union[str, Octets]] = None,
        ipOptions: Optional[Union[int, bool]] = None, ipAddress: Optional[Union[str, Octets]] = None,
        subnetMask: Optional[Union[str, Octets]] = None, gateway: Optional[Union[str, Octets]] = None,
        dhcpEnabled: Optional[Union[int, bool]] = None, useSharedBridge: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """gives the ONU's management host its interface

        allocId          alloc-id, for the log; otherwise 0
        gemId            GEM port, for the log; otherwise 0
        bridgeId         number of the bridge: 3 is br3 (needed)
        uniPort          second number of the host's device: br3.2 (needed)
        macAddress       host MAC, used when the board has no first MAC; otherwise ""
        ipOptions        IP options, for the log; otherwise 0
        ipAddress        IPv4 address; otherwise ""
        subnetMask       IPv4 mask; otherwise ""
        gateway          default gateway; otherwise ""
        dhcpEnabled      true: the address comes from DHCP; otherwise false
        useSharedBridge  true: join the shared bridge brv; otherwise false
        """
        return self._call('vorn_omci_hal_provisionIpHost', locals())

    provisionIpHost = vorn_omci_hal_provisionIpHost

    def vorn_omci_hal_deprovisionIpHost(
        self, *, allocId: Optional[int] = None, gemId: Optional[int] = None, bridgeId: Optional[int] = None,
        uniPort: Optional[int] = None, macAddress: Optional[Union[str, Octets]] = None,
        ipOptions: Optional[Union[int, bool]] = None, ipAddress: Optional[Union[str, Octets]] = None,
        subnetMask: Optional[Union[str, Octets]] = None, gateway: Optional[Union[str, Octets]] = None,
        dhcpEnabled: Optional[Union[int, bool]] = None, useSharedBridge: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """takes the management host away

        allocId          alloc-id, for the log; otherwise 0
        gemId            GEM port, for the log; otherwise 0
        bridgeId         number of the bridge: 3 is br3 (needed)
        uniPort          second number of the host's device: br3.2 (needed)
        macAddress       host MAC, used when the board has no first MAC; otherwise ""
        ipOptions        IP options, for the log; otherwise 0
        ipAddress        IPv4 address; otherwise ""
        subnetMask       IPv4 mask; otherwise ""
        gateway          default gateway; otherwise ""
        dhcpEnabled      true: the address comes from DHCP; otherwise false
        useSharedBridge  true: join the shared bridge brv; otherwise false
        """
        return self._call('vorn_omci_hal_deprovisionIpHost', locals())

    deprovisionIpHost = vorn_omci_hal_deprovisionIpHost

    def vorn_omci_hal_tcont_set(
        self, *, allocId: Optional[Union[int, Literal['none']]] = None, tContIndex: Optional[int] = None,
        policy: Optional[int] = None, record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """binds an alloc-id to a T-CONT and makes its eight queues

        allocId     alloc-id to bind (needed)
        tContIndex  hardware T-CONT index (needed)
        policy      scheduling policy, carried along; otherwise 0
        """
        return self._call('vorn_omci_hal_tcont_set', locals())

    tcont_set = vorn_omci_hal_tcont_set

    def vorn_omci_hal_tcont_reset(
        self, *, allocId: Optional[Union[int, Literal['none']]] = None, tContIndex: Optional[int] = None,
        policy: Optional[int] = None, record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """unbinds an alloc-id and removes its T-CONT's queues

        allocId     alloc-id to bind (needed)
        tContIndex  hardware T-CONT index (needed)
        policy      scheduling policy, carried along; otherwise 0
        """
        return self._call('vorn_omci_hal_tcont_reset', locals())

    tcont_reset = vorn_omci_hal_tcont_reset

    def vorn_omci_hal_gemflow_add(
        self, *, tContAllocId: Optional[Union[int, Literal['none']]] = None, xgemPortId: Optional[int] = None,
        upstreamQueue: Optional[int] = None, qosArg: Optional[int] = None, schedPolicy: Optional[SchedPolicy] = None,
        priority: Optional[int] = None, weight: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """makes a GEM port with its queue

        tContAllocId   alloc-id of the port's T-CONT; none: a downstream-only port; otherwise "none"
        xgemPortId     GEM port id (needed)
        upstreamQueue  queue 0..7 on the T-CONT; otherwise 0
        qosArg         carried along; otherwise 0
        schedPolicy    how the queue is served; otherwise "strict"
        priority       strict priority of the queue; otherwise 0
        weight         weight of the queue; otherwise 0
        """
        return self._call('vorn_omci_hal_gemflow_add', locals())

    gemflow_add = vorn_omci_hal_gemflow_add

    def vorn_omci_hal_gemflow_del(
        self, *, tContAllocId: Optional[Union[int, Literal['none']]] = None, xgemPortId: Optional[int] = None,
        upstreamQueue: Optional[int] = None, qosArg: Optional[int] = None, schedPolicy: Optional[SchedPolicy] = None,
        priority: Optional[int] = None, weight: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """removes a GEM port

        tContAllocId   alloc-id of the port's T-CONT; none: a downstream-only port; otherwise "none"
        xgemPortId     GEM port id (needed)
        upstreamQueue  queue 0..7 on the T-CONT; otherwise 0
        qosArg         carried along; otherwise 0
        schedPolicy    how the queue is served; otherwise "strict"
        priority       strict priority of the queue; otherwise 0
        weight         weight of the queue; otherwise 0
        """
        return self._call('vorn_omci_hal_gemflow_del', locals())

    gemflow_del = vorn_omci_hal_gemflow_del

    def vorn_omci_hal_set_gemPortStatus(
        self, *, xgemPortId: Optional[int] = None, enable: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """sets a GEM port up or down

        xgemPortId  GEM port id (needed)
        enable      true sets the port up, false down (needed)
        """
        return self._call('vorn_omci_hal_set_gemPortStatus', locals())

    set_gemPortStatus = vorn_omci_hal_set_gemPortStatus

    def vorn_omci_hal_filter_flow_add(
        self, *, addFlag: Optional[Union[int, bool]] = None, hasTagRules: Optional[Union[int, bool]] = None,
        bridgeId: Optional[int] = None, uniPort: Optional[int] = None, inputTpid: Optional[Union[int, str]] = None,
        outputTpid: Optional[Union[int, str]] = None, downstreamMode: Optional[DownstreamMode] = None,
        filterType: Optional[FilterType] = None, tagAction: Optional[TagAction] = None,
        etherType: Optional[EtherType] = None, outerFilterTpidDe: Optional[OuterFilterTpidDe] = None,
        outerFilterVlanId: Optional[Union[int, Literal['any']]] = None,
        outerFilterPrio: Optional[OuterFilterPrio] = None, innerFilterTpidDe: Optional[OuterFilterTpidDe] = None,
        innerFilterVlanId: Optional[Union[int, Literal['any']]] = None,
        innerFilterPrio: Optional[OuterFilterPrio] = None, removeType: Optional[RemoveType] = None,
        outerTreatmentTpidDe: Optional[OuterTreatmentTpidDe] = None,
        outerTreatmentVlanId: Optional[OuterTreatmentVlanId] = None,
        outerTreatmentPrio: Optional[OuterTreatmentPrio] = None,
        innerTreatmentTpidDe: Optional[OuterTreatmentTpidDe] = None,
        innerTreatmentVlanId: Optional[OuterTreatmentVlanId] = None,
        innerTreatmentPrio: Optional[OuterTreatmentPrio] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """adds a row of a UNI's extended VLAN tagging, or removes the UNI's rules

        addFlag               true adds the row, false removes the UNI's rules; otherwise true
        hasTagRules           false: no row, every frame passes as it is; otherwise true
        bridgeId              number of the bridge: 3 is br3 (needed)
        uniPort               UNI port of the record; 1 and 2 are exchanged on their way to the device (needed)
        inputTpid             TPID of tagged frames that come in; otherwise "0x8100"
        outputTpid            TPID that treatments may write; otherwise "0x8100"
        downstreamMode        downstream mode of the row; otherwise "inverse"
        filterType            tags that the row filters on; otherwise "untagged"
        tagAction             what the row does to the tags; otherwise "none"
        etherType             EtherType to match; otherwise "none"
        outerFilterTpidDe     TPID and DEI of the outer tag; otherwise "any"
        outerFilterVlanId     VID of the outer tag; otherwise "any"
        outerFilterPrio       p-bits of the outer tag; otherwise "none"
        innerFilterTpidDe     TPID and DEI of the inner tag; otherwise "any"
        innerFilterVlanId     VID of the inner tag; otherwise "any"
        innerFilterPrio       p-bits of the inner tag; otherwise "none"
        removeType            tags removed upstream; otherwise "none"
        outerTreatmentTpidDe  TPID of an outer tag; otherwise "0x8100"
        outerTreatmentVlanId  VID written to the outer tag; otherwise 0
        outerTreatmentPrio    p-bits of an outer tag; otherwise "none"
        innerTreatmentTpidDe  TPID of an inner tag; otherwise "0x8100"
        innerTreatmentVlanId  VID written to the inner tag; otherwise 0
        innerTreatmentPrio    p-bits of an inner tag; otherwise "none"
        """
        return self._call('vorn_omci_hal_filter_flow_add', locals())

    filter_flow_add = vorn_omci_hal_filter_flow_add

    def vorn_omci_hal_configureBridge(
        self, *, bridgeId: Optional[int] = None, uniPort: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """makes a bridge with its PON side, or joins a UNI port

        bridgeId  number of the bridge: 3 is br3 (needed)
        uniPort   0: the bridge with its PON side; from 1: that UNI port joins it (needed)
        """
        return self._call('vorn_omci_hal_configureBridge', locals())

    configureBridge = vorn_omci_hal_configureBridge

    def vorn_omci_hal_configureAniTagRules(
        self, *, gemPortId: Optional[int] = None, bridgeId: Optional[int] = None,
        vlanTciFilterList: Optional[VlanTciFilterList] = None, forwardOperation: Optional[int] = None,
        numberOfEntries: Optional[int] = None, trafficModel: Optional[TrafficModel] = None,
        pbitMap: Optional[Sequence[PbitMapItem]] = None,
        protocolNumber: Optional[Union[int, Literal['none', 'igmp']]] = None,
        isMulticast: Optional[Union[int, bool]] = None, multicastService: Optional[Union[int, bool]] = None,
        inputTpid: Optional[Union[int, str]] = None, outputTpid: Optional[Union[int, str]] = None,
        dsMode: Optional[DownstreamMode] = None, filterTagCount: Optional[FilterType] = None,
        tagTreatment: Optional[TagAction] = None, etherTypeFilter: Optional[EtherType] = None,
        outerTpidFilter: Optional[OuterFilterTpidDe] = None,
        outerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        outerVlanPrioFilter: Optional[OuterFilterPrio] = None, innerTpidFilter: Optional[OuterFilterTpidDe] = None,
        innerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        innerVlanPrioFilter: Optional[OuterFilterPrio] = None, removeType: Optional[RemoveType] = None,
        outerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        outerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        outerVlanPrioAction: Optional[OuterTreatmentPrio] = None,
        innerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        innerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        innerVlanPrioAction: Optional[OuterTreatmentPrio] = None, restoreVlanFlows: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """makes the PON side's tag rules of a bridge service

        gemPortId            GEM port of the service (needed)
        bridgeId             number of the bridge: 3 is br3 (needed)
        vlanTciFilterList    VLAN tagging filter list: [{"pbits", "dei", "vid"}] or hex text
        forwardOperation     forward operation of the VLAN tagging filter; otherwise 0
        numberOfEntries      entries of vlanTciFilterList; left out: as many as it has
        trafficModel         mapping and filter model; 2 and 5 make rules on the PON side; otherwise "1-filter"
        pbitMap              GEM port and upstream queue of each p-bit: [{"pbit", "gemPort", "queue"}]; a p-bit that is
                             left out keeps what an earlier record gave it; "untagged" is for forwarding by G.988
        protocolNumber       IP protocol to filter on; otherwise "none"
        isMulticast          a multicast service (with multicastService); otherwise false
        multicastService     a multicast service (with isMulticast); otherwise false
        inputTpid            TPID of tagged frames that come in; otherwise "0x8100"
        outputTpid           TPID that treatments may write; otherwise "0x8100"
        dsMode               downstream mode of the tagging row; otherwise "inverse"
        filterTagCount       tags that the row filters on; otherwise "untagged"
        tagTreatment         what the row does to the tags; otherwise "none"
        etherTypeFilter      EtherType to match; otherwise "none"
        outerTpidFilter      TPID and DEI of the outer tag; otherwise "any"
        outerVlanIdFilter    VID of the outer tag; otherwise "any"
        outerVlanPrioFilter  p-bits of the outer tag; otherwise "none"
        innerTpidFilter      TPID and DEI of the inner tag; otherwise "any"
        innerVlanIdFilter    VID of the inner tag; otherwise "any"
        innerVlanPrioFilter  p-bits of the inner tag; otherwise "none"
        removeType           tags removed upstream; otherwise "none"
        outerTpidAction      TPID written to the outer tag; otherwise "0x8100"
        outerVlanIdAction    VID written to the outer tag; otherwise 0
        outerVlanPrioAction  p-bits of an outer tag; otherwise "none"
        innerTpidAction      TPID written to the inner tag; otherwise "0x8100"
        innerVlanIdAction    VID written to the inner tag; otherwise 0
        innerVlanPrioAction  p-bits of an inner tag; otherwise "none"
        restoreVlanFlows     recreate the VLAN flows after the p-bit data is removed; otherwise false
        """
        return self._call('vorn_omci_hal_configureAniTagRules', locals())

    configureAniTagRules = vorn_omci_hal_configureAniTagRules

    def vorn_omci_hal_unsetPbitData(
        self, *, gemPortId: Optional[int] = None, bridgeId: Optional[int] = None,
        vlanTciFilterList: Optional[VlanTciFilterList] = None, forwardOperation: Optional[int] = None,
        numberOfEntries: Optional[int] = None, trafficModel: Optional[TrafficModel] = None,
        pbitMap: Optional[Sequence[PbitMapItem]] = None,
        protocolNumber: Optional[Union[int, Literal['none', 'igmp']]] = None,
        isMulticast: Optional[Union[int, bool]] = None, multicastService: Optional[Union[int, bool]] = None,
        inputTpid: Optional[Union[int, str]] = None, outputTpid: Optional[Union[int, str]] = None,
        dsMode: Optional[DownstreamMode] = None, filterTagCount: Optional[FilterType] = None,
        tagTreatment: Optional[TagAction] = None, etherTypeFilter: Optional[EtherType] = None,
        outerTpidFilter: Optional[OuterFilterTpidDe] = None,
        outerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        outerVlanPrioFilter: Optional[OuterFilterPrio] = None, innerTpidFilter: Optional[OuterFilterTpidDe] = None,
        innerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        innerVlanPrioFilter: Optional[OuterFilterPrio] = None, removeType: Optional[RemoveType] = None,
        outerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        outerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        outerVlanPrioAction: Optional[OuterTreatmentPrio] = None,
        innerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        innerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        innerVlanPrioAction: Optional[OuterTreatmentPrio] = None, restoreVlanFlows: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """removes the rules of a service's GEM ports

        gemPortId            GEM port of the service; otherwise 0
        bridgeId             number of the bridge: 3 is br3 (needed)
        vlanTciFilterList    VLAN tagging filter list: [{"pbits", "dei", "vid"}] or hex text
        forwardOperation     forward operation of the VLAN tagging filter; otherwise 0
        numberOfEntries      entries of vlanTciFilterList; left out: as many as it has
        trafficModel         mapping and filter model; 2 and 5 make rules on the PON side; otherwise "1-filter"
        pbitMap              GEM port and upstream queue of each p-bit: [{"pbit", "gemPort", "queue"}]; a p-bit that is
                             left out keeps what an earlier record gave it; "untagged" is for forwarding by G.988
        protocolNumber       IP protocol to filter on; otherwise "none"
        isMulticast          a multicast service (with multicastService); otherwise false
        multicastService     a multicast service (with isMulticast); otherwise false
        inputTpid            TPID of tagged frames that come in; otherwise "0x8100"
        outputTpid           TPID that treatments may write; otherwise "0x8100"
        dsMode               downstream mode of the tagging row; otherwise "inverse"
        filterTagCount       tags that the row filters on; otherwise "untagged"
        tagTreatment         what the row does to the tags; otherwise "none"
        etherTypeFilter      EtherType to match; otherwise "none"
        outerTpidFilter      TPID and DEI of the outer tag; otherwise "any"
        outerVlanIdFilter    VID of the outer tag; otherwise "any"
        outerVlanPrioFilter  p-bits of the outer tag; otherwise "none"
        innerTpidFilter      TPID and DEI of the inner tag; otherwise "any"
        innerVlanIdFilter    VID of the inner tag; otherwise "any"
        innerVlanPrioFilter  p-bits of the inner tag; otherwise "none"
        removeType           tags removed upstream; otherwise "none"
        outerTpidAction      TPID written to the outer tag; otherwise "0x8100"
        outerVlanIdAction    VID written to the outer tag; otherwise 0
        outerVlanPrioAction  p-bits of an outer tag; otherwise "none"
        innerTpidAction      TPID written to the inner tag; otherwise "0x8100"
        innerVlanIdAction    VID written to the inner tag; otherwise 0
        innerVlanPrioAction  p-bits of an inner tag; otherwise "none"
        restoreVlanFlows     recreate the VLAN flows after the p-bit data is removed; otherwise false
        """
        return self._call('vorn_omci_hal_unsetPbitData', locals())

    unsetPbitData = vorn_omci_hal_unsetPbitData

    def vorn_omci_hal_deprovisionAniSideBridge(
        self, *, gemPortId: Optional[int] = None, bridgeId: Optional[int] = None,
        vlanTciFilterList: Optional[VlanTciFilterList] = None, forwardOperation: Optional[int] = None,
        numberOfEntries: Optional[int] = None, trafficModel: Optional[TrafficModel] = None,
        pbitMap: Optional[Sequence[PbitMapItem]] = None,
        protocolNumber: Optional[Union[int, Literal['none', 'igmp']]] = None,
        isMulticast: Optional[Union[int, bool]] = None, multicastService: Optional[Union[int, bool]] = None,
        inputTpid: Optional[Union[int, str]] = None, outputTpid: Optional[Union[int, str]] = None,
        dsMode: Optional[DownstreamMode] = None, filterTagCount: Optional[FilterType] = None,
        tagTreatment: Optional[TagAction] = None, etherTypeFilter: Optional[EtherType] = None,
        outerTpidFilter: Optional[OuterFilterTpidDe] = None,
        outerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        outerVlanPrioFilter: Optional[OuterFilterPrio] = None, innerTpidFilter: Optional[OuterFilterTpidDe] = None,
        innerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        innerVlanPrioFilter: Optional[OuterFilterPrio] = None, removeType: Optional[RemoveType] = None,
        outerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        outerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        outerVlanPrioAction: Optional[OuterTreatmentPrio] = None,
        innerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        innerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        innerVlanPrioAction: Optional[OuterTreatmentPrio] = None, restoreVlanFlows: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """removes a bridge and its PON side, or a multicast service

        gemPortId            GEM port of the service; otherwise 0
        bridgeId             number of the bridge: 3 is br3 (needed)
        vlanTciFilterList    VLAN tagging filter list: [{"pbits", "dei", "vid"}] or hex text
        forwardOperation     forward operation of the VLAN tagging filter; otherwise 0
        numberOfEntries      entries of vlanTciFilterList; left out: as many as it has
        trafficModel         mapping and filter model; 2 and 5 make rules on the PON side; otherwise "1-filter"
        pbitMap              GEM port and upstream queue of each p-bit: [{"pbit", "gemPort", "queue"}]; a p-bit that is
                             left out keeps what an earlier record gave it; "untagged" is for forwarding by G.988
        protocolNumber       IP protocol to filter on; otherwise "none"
        isMulticast          a multicast service (with multicastService); otherwise false
        multicastService     a multicast service (with isMulticast); otherwise false
        inputTpid            TPID of tagged frames that come in; otherwise "0x8100"
        outputTpid           TPID that treatments may write; otherwise "0x8100"
        dsMode               downstream mode of the tagging row; otherwise "inverse"
        filterTagCount       tags that the row filters on; otherwise "untagged"
        tagTreatment         what the row does to the tags; otherwise "none"
        etherTypeFilter      EtherType to match; otherwise "none"
        outerTpidFilter      TPID and DEI of the outer tag; otherwise "any"
        outerVlanIdFilter    VID of the outer tag; otherwise "any"
        outerVlanPrioFilter  p-bits of the outer tag; otherwise "none"
        innerTpidFilter      TPID and DEI of the inner tag; otherwise "any"
        innerVlanIdFilter    VID of the inner tag; otherwise "any"
        innerVlanPrioFilter  p-bits of the inner tag; otherwise "none"
        removeType           tags removed upstream; otherwise "none"
        outerTpidAction      TPID written to the outer tag; otherwise "0x8100"
        outerVlanIdAction    VID written to the outer tag; otherwise 0
        outerVlanPrioAction  p-bits of an outer tag; otherwise "none"
        innerTpidAction      TPID written to the inner tag; otherwise "0x8100"
        innerVlanIdAction    VID written to the inner tag; otherwise 0
        innerVlanPrioAction  p-bits of an inner tag; otherwise "none"
        restoreVlanFlows     recreate the VLAN flows after the p-bit data is removed; otherwise false
        """
        return self._call('vorn_omci_hal_deprovisionAniSideBridge', locals())

    deprovisionAniSideBridge = vorn_omci_hal_deprovisionAniSideBridge

    def vorn_omci_hal_deprovisionUniSideBridge(
        self, *, gemPortId: Optional[int] = None, bridgeId: Optional[int] = None,
        vlanTciFilterList: Optional[VlanTciFilterList] = None, forwardOperation: Optional[int] = None,
        numberOfEntries: Optional[int] = None, trafficModel: Optional[TrafficModel] = None,
        pbitMap: Optional[Sequence[PbitMapItem]] = None,
        protocolNumber: Optional[Union[int, Literal['none', 'igmp']]] = None,
        isMulticast: Optional[Union[int, bool]] = None, multicastService: Optional[Union[int, bool]] = None,
        inputTpid: Optional[Union[int, str]] = None, outputTpid: Optional[Union[int, str]] = None,
        dsMode: Optional[DownstreamMode] = None, filterTagCount: Optional[FilterType] = None,
        tagTreatment: Optional[TagAction] = None, etherTypeFilter: Optional[EtherType] = None,
        outerTpidFilter: Optional[OuterFilterTpidDe] = None,
        outerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        outerVlanPrioFilter: Optional[OuterFilterPrio] = None, innerTpidFilter: Optional[OuterFilterTpidDe] = None,
        innerVlanIdFilter: Optional[Union[int, Literal['any']]] = None,
        innerVlanPrioFilter: Optional[OuterFilterPrio] = None, removeType: Optional[RemoveType] = None,
        outerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        outerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        outerVlanPrioAction: Optional[OuterTreatmentPrio] = None,
        innerTpidAction: Optional[OuterTreatmentTpidDe] = None,
        innerVlanIdAction: Optional[OuterTreatmentVlanId] = None,
        innerVlanPrioAction: Optional[OuterTreatmentPrio] = None, restoreVlanFlows: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """removes the UNI port of a bridge, with its rules

        gemPortId            GEM port of the service; otherwise 0
        bridgeId             number of the bridge: 3 is br3 (needed)
        vlanTciFilterList    VLAN tagging filter list: [{"pbits", "dei", "vid"}] or hex text
        forwardOperation     forward operation of the VLAN tagging filter; otherwise 0
        numberOfEntries      entries of vlanTciFilterList; left out: as many as it has
        trafficModel         mapping and filter model; 2 and 5 make rules on the PON side; otherwise "1-filter"
        pbitMap              GEM port and upstream queue of each p-bit: [{"pbit", "gemPort", "queue"}]; a p-bit that is
                             left out keeps what an earlier record gave it; "untagged" is for forwarding by G.988
        protocolNumber       IP protocol to filter on; otherwise "none"
        isMulticast          a multicast service (with multicastService); otherwise false
        multicastService     a multicast service (with isMulticast); otherwise false
        inputTpid            TPID of tagged frames that come in; otherwise "0x8100"
        outputTpid           TPID that treatments may write; otherwise "0x8100"
        dsMode               downstream mode of the tagging row; otherwise "inverse"
        filterTagCount       tags that the row filters on; otherwise "untagged"
        tagTreatment         what the row does to the tags; otherwise "none"
        etherTypeFilter      EtherType to match; otherwise "none"
        outerTpidFilter      TPID and DEI of the outer tag; otherwise "any"
        outerVlanIdFilter    VID of the outer tag; otherwise "any"
        outerVlanPrioFilter  p-bits of the outer tag; otherwise "none"
        innerTpidFilter      TPID and DEI of the inner tag; otherwise "any"
        innerVlanIdFilter    VID of the inner tag; otherwise "any"
        innerVlanPrioFilter  p-bits of the inner tag; otherwise "none"
        removeType           tags removed upstream; otherwise "none"
        outerTpidAction      TPID written to the outer tag; otherwise "0x8100"
        outerVlanIdAction    VID written to the outer tag; otherwise 0
        outerVlanPrioAction  p-bits of an outer tag; otherwise "none"
        innerTpidAction      TPID written to the inner tag; otherwise "0x8100"
        innerVlanIdAction    VID written to the inner tag; otherwise 0
        innerVlanPrioAction  p-bits of an inner tag; otherwise "none"
        restoreVlanFlows     recreate the VLAN flows after the p-bit data is removed; otherwise false
        """
        return self._call('vorn_omci_hal_deprovisionUniSideBridge', locals())

    deprovisionUniSideBridge = vorn_omci_hal_deprovisionUniSideBridge

    def vorn_omci_hal_veip_createRules(
        self, *, gemPort: Optional[int] = None, bridgeId: Optional[int] = None, filterType: Optional[int] = None,
        filterList: Optional[Union[VlanTciFilterList, Any]] = None, numberOfEntries: Optional[int] = None,
        trafficType: Optional[TrafficModel] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """announces a service to the gateway over the VEIP

        gemPort          GEM port of the service (needed)
        bridgeId         number of the bridge (needed)
        filterType       forward operation, carried along; otherwise 0
        filterList       VLAN tagging filter list: [{"pbits", "dei", "vid"}] or hex text; null: a null pointer
        numberOfEntries  entries of filterList; left out: as many as it has
        trafficType      mapping and filter model; 2, 3, 5 and 6 make the VEIP (needed)
        """
        return self._call('vorn_omci_hal_veip_createRules', locals())

    veip_createRules = vorn_omci_hal_veip_createRules

    def vorn_omci_hal_veip_deleteRules(
        self, *, gemPort: Optional[int] = None, bridgeId: Optional[int] = None, filterType: Optional[int] = None,
        filterList: Optional[Union[VlanTciFilterList, Any]] = None, numberOfEntries: Optional[int] = None,
        trafficType: Optional[TrafficModel] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """withdraws a service, and the VEIP with the last one

        gemPort          GEM port of the service (needed)
        bridgeId         number of the bridge (needed)
        filterType       forward operation, carried along; otherwise 0
        filterList       VLAN tagging filter list: [{"pbits", "dei", "vid"}] or hex text; null: a null pointer
        numberOfEntries  entries of filterList; left out: as many as it has
        trafficType      mapping and filter model; 2, 3, 5 and 6 make the VEIP (needed)
        """
        return self._call('vorn_omci_hal_veip_deleteRules', locals())

    veip_deleteRules = vorn_omci_hal_veip_deleteRules

    def vorn_test_call(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """liveness check: answers 4"""
        return self._call('vorn_test_call', locals())

    test_call = vorn_test_call

    def vorn_omci_hal_init(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """connects to the gateway side and starts the listener"""
        return self._call('vorn_omci_hal_init', locals())

    init = vorn_omci_hal_init

    def vorn_omci_hal_eth_port_speed_get(
        self, *, port: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """writes nothing on this board

        port      number of the port (needed)
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: speed
        """
        return self._call('vorn_omci_hal_eth_port_speed_get', locals())

    eth_port_speed_get = vorn_omci_hal_eth_port_speed_get

    def vorn_omci_hal_eth_port_duplex_get(
        self, *, port: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """writes nothing on this board

        port      number of the port (needed)
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: duplex
        """
        return self._call('vorn_omci_hal_eth_port_duplex_get', locals())

    eth_port_duplex_get = vorn_omci_hal_eth_port_duplex_get

    def vorn_omci_hal_eth_port_id_get(
        self, *, port: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0

        port      number of the port (needed)
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: id
        """
        return self._call('vorn_omci_hal_eth_port_id_get', locals())

    eth_port_id_get = vorn_omci_hal_eth_port_id_get

    def vorn_omci_hal_eth_port_mode_set(
        self, *, port: Optional[int] = None, value: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0

        port   number of the port (needed)
        value  what to set (needed)
        """
        return self._call('vorn_omci_hal_eth_port_mode_set', locals())

    eth_port_mode_set = vorn_omci_hal_eth_port_mode_set

    def vorn_omci_hal_port_enable_get(
        self, *, port: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """has the gateway made this sub-device of the VEIP?

        port      number of the port (needed)
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: enabled
        """
        return self._call('vorn_omci_hal_port_enable_get', locals())

    port_enable_get = vorn_omci_hal_port_enable_get

    def vorn_omci_hal_eth_port_admin_set(
        self, *, port: Optional[int] = None, value: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0

        port   number of the port (needed)
        value  what to set (needed)
        """
        return self._call('vorn_omci_hal_eth_port_admin_set', locals())

    eth_port_admin_set = vorn_omci_hal_eth_port_admin_set

    def vorn_hal_set_omci_action(
        self, *, action: Optional[int] = None, record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """notes the OMCI action that the daemon works on

        action  action code (needed)
        """
        return self._call('vorn_hal_set_omci_action', locals())

    set_omci_action = vorn_hal_set_omci_action

    def vorn_omci_hal_vid_get(
        self, *, size: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """writes nothing on this board

        size      size of the buffer; otherwise 64
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: text
        """
        return self._call('vorn_omci_hal_vid_get', locals())

    vid_get = vorn_omci_hal_vid_get

    def vorn_omci_hal_sn_get(
        self, *, size: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """serial number

        size      size of the buffer; otherwise 64
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: text
        """
        return self._call('vorn_omci_hal_sn_get', locals())

    sn_get = vorn_omci_hal_sn_get

    def vorn_omci_hal_mac_get(
        self, *, size: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """MAC address

        size      size of the buffer; otherwise 64
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: text
        """
        return self._call('vorn_omci_hal_mac_get', locals())

    mac_get = vorn_omci_hal_mac_get

    def vorn_omci_hal_pn_get(
        self, *, size: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """part number

        size      size of the buffer; otherwise 64
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: text
        """
        return self._call('vorn_omci_hal_pn_get', locals())

    pn_get = vorn_omci_hal_pn_get

    def vorn_omci_hal_nvram_info_get(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """reads the board's NVRAM; comes before the identity"""
        return self._call('vorn_omci_hal_nvram_info_get', locals())

    nvram_info_get = vorn_omci_hal_nvram_info_get

    def vorn_omci_hal_rx_laser_power_get(
        self, *, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """received optical level in 0.002 dB

        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: level
        """
        return self._call('vorn_omci_hal_rx_laser_power_get', locals())

    rx_laser_power_get = vorn_omci_hal_rx_laser_power_get

    def vorn_omci_hal_tx_laser_power_get(
        self, *, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """transmitted optical level in 0.002 dB

        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: level
        """
        return self._call('vorn_omci_hal_tx_laser_power_get', locals())

    tx_laser_power_get = vorn_omci_hal_tx_laser_power_get

    def vorn_omci_hal_gponctl_state_set(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """starts the GPON link in its stored state"""
        return self._call('vorn_omci_hal_gponctl_state_set', locals())

    gponctl_state_set = vorn_omci_hal_gponctl_state_set

    def vorn_omci_hal_swimage_version_get(
        self, *, size: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """version of the booted software image

        size      size of the buffer; otherwise 64
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: text
        """
        return self._call('vorn_omci_hal_swimage_version_get', locals())

    swimage_version_get = vorn_omci_hal_swimage_version_get

    def vorn_omci_hal_pm_get(
        self, *, kind: Optional[Kind] = None, interval: Optional[Interval] = None, reader: Optional[int] = None,
        noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """performance monitoring of the subscriber side

        kind      which counters; otherwise "ethernet"
        interval  since the device was made, or since the 15-minute interval began; otherwise "absolute"
        reader    of ethernetOfReader: whose interval; otherwise 0
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: received, transmitted, split
        """
        return self._call('vorn_omci_hal_pm_get', locals())

    pm_get = vorn_omci_hal_pm_get

    def vorn_omci_hal_gem_get_idx_from_id(
        self, *, gemPort: Optional[int] = None, noBuffer: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0

        gemPort   GEM port id (needed)
        noBuffer  true: a null pointer in place of the buffer; otherwise false
        output    what it is expected to write: index
        """
        return self._call('vorn_omci_hal_gem_get_idx_from_id', locals())

    gem_get_idx_from_id = vorn_omci_hal_gem_get_idx_from_id

    def vorn_omci_hal_eth_port_max_frame_set(
        self, *, size: Optional[int] = None, record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0

        size  largest frame in bytes; otherwise 0
        """
        return self._call('vorn_omci_hal_eth_port_max_frame_set', locals())

    eth_port_max_frame_set = vorn_omci_hal_eth_port_max_frame_set

    def vorn_hal_get_mac_ip_host(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """MAC address of the management host"""
        return self._call('vorn_hal_get_mac_ip_host', locals())

    get_mac_ip_host = vorn_hal_get_mac_ip_host

    def vorn_hal_get_mac_sub_host(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """MAC address of the sub-host"""
        return self._call('vorn_hal_get_mac_sub_host', locals())

    get_mac_sub_host = vorn_hal_get_mac_sub_host

    def vorn_omci_hal_register_link_st(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_register_link_st', locals())

    register_link_st = vorn_omci_hal_register_link_st

    def vorn_omci_hal_pkt_send(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_pkt_send', locals())

    pkt_send = vorn_omci_hal_pkt_send

    def vorn_omci_hal_init_onu_config(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_init_onu_config', locals())

    init_onu_config = vorn_omci_hal_init_onu_config

    def vorn_omci_hal_fetch_onu_config(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_fetch_onu_config', locals())

    fetch_onu_config = vorn_omci_hal_fetch_onu_config

    def vorn_omci_hal_register_eth_st(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_register_eth_st', locals())

    register_eth_st = vorn_omci_hal_register_eth_st

    def vorn_omci_hal_mic_build(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_mic_build', locals())

    mic_build = vorn_omci_hal_mic_build

    def vorn_omci_hal_mic_check(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_mic_check', locals())

    mic_check = vorn_omci_hal_mic_check

    def vorn_omci_hal_gen_mic_init(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_gen_mic_init', locals())

    gen_mic_init = vorn_omci_hal_gen_mic_init

    def vorn_omci_hal_hw_rev_get(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_hw_rev_get', locals())

    hw_rev_get = vorn_omci_hal_hw_rev_get

    def vorn_omci_hal_clei_code_get(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_clei_code_get', locals())

    clei_code_get = vorn_omci_hal_clei_code_get

    def vorn_omci_hal_iphost_rule_add(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_iphost_rule_add', locals())

    iphost_rule_add = vorn_omci_hal_iphost_rule_add

    def vorn_omci_hal_get_gem_count(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_get_gem_count', locals())

    get_gem_count = vorn_omci_hal_get_gem_count

    def vorn_omci_hal_filter_flow_del(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_filter_flow_del', locals())

    filter_flow_del = vorn_omci_hal_filter_flow_del

    def vorn_omci_hal_us_flow_del(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_us_flow_del', locals())

    us_flow_del = vorn_omci_hal_us_flow_del

    def vorn_omci_hal_us_flow_add(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_us_flow_add', locals())

    us_flow_add = vorn_omci_hal_us_flow_add

    def vorn_omci_hal_mcast_cfg(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_omci_hal_mcast_cfg', locals())

    mcast_cfg = vorn_omci_hal_mcast_cfg

    def vorn_pon_state_mechanism(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """not supported by this board: answers 0"""
        return self._call('vorn_pon_state_mechanism', locals())

    pon_state_mechanism = vorn_pon_state_mechanism

    def updateEthernetUniSpeed(
        self, *, uniInstance: Optional[int] = None, speed: Optional[int] = None, duplex: Optional[int] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """sets speed and duplex of an Ethernet UNI

        uniInstance  Ethernet UNI: 1 is eth1, 2 is eth0 (needed)
        speed        speed, in the PHY's encoding (needed)
        duplex       duplex, in the PHY's encoding (needed)
        """
        return self._call('updateEthernetUniSpeed', locals())

    def setEthernetUniStatus(
        self, *, uniInstance: Optional[int] = None, adminState: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """brings an Ethernet UNI up or down

        uniInstance  Ethernet UNI: 1 is eth1, 2 is eth0 (needed)
        adminState   true up, false down (needed)
        """
        return self._call('setEthernetUniStatus', locals())

    def getEthernetUniOperState(
        self, *, uniInstance: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """0 the link is up, 1 it is not

        uniInstance  Ethernet UNI: 1 is eth1, 2 is eth0 (needed)
        """
        return self._call('getEthernetUniOperState', locals())

    def getEthernetUniConfig(
        self, *, uniInstance: Optional[int] = None, wantSpeed: Optional[Union[int, bool]] = None,
        record: Record = LEFT_OUT, unchecked: Optional[Mapping[str, Any]] = None,
        result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """configured speed or duplex

        uniInstance  Ethernet UNI: 1 is eth1, 2 is eth0 (needed)
        wantSpeed    true the speed, false the duplex (needed)
        """
        return self._call('getEthernetUniConfig', locals())

    def getIntfStats(
        self, *, interface: Optional[Union[str, Octets]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """absolute counters of a network device

        interface  name of the device (needed)
        output     what it is expected to write: rxOctets, rxFrames, rxErrors, rxDiscards, txOctets, txFrames, txErrors,
                   txDiscards
        """
        return self._call('getIntfStats', locals())

    def br_set_port_isolated(
        self, *, bridge: Optional[Union[str, Octets]] = None, port: Optional[Union[str, Octets]] = None,
        isolated: Optional[Union[int, bool]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """lets nothing pass between isolated ports of a bridge; 0 or an errno value

        bridge    name of the bridge (needed)
        port      name of its port (needed)
        isolated  true on, false off (needed)
        """
        return self._call('br_set_port_isolated', locals())

    def getGalEthPmHistDataME(
        self, *, gemPortId: Optional[int] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        output: Optional[Mapping[str, Any]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """discarded frames of a GEM port

        gemPortId  GEM port id (needed)
        output     what it is expected to write: discardedFrames
        """
        return self._call('getGalEthPmHistDataME', locals())

    def EtherSwitchBcm380_iPhost_Stag(
        self, *, vid: Optional[Union[int, Literal['none']]] = None, record: Record = LEFT_OUT,
        unchecked: Optional[Mapping[str, Any]] = None, result: Optional[Union[int, str]] = None,
        note: Optional[str] = None,
    ) -> CallResult:
        """service tag that the management host's frames carry

        vid  VID, or none (needed)
        """
        return self._call('EtherSwitchBcm380::iPhost_Stag', locals())

    iPhost_Stag = EtherSwitchBcm380_iPhost_Stag

    def VornBrcmHal_createAlarmStatsThread(
        self, *, record: Record = LEFT_OUT, result: Optional[Union[int, str]] = None, note: Optional[str] = None,
    ) -> CallResult:
        """starts the link monitor"""
        return self._call('VornBrcmHal::createAlarmStatsThread', locals())

    createAlarmStatsThread = VornBrcmHal_createAlarmStatsThread
